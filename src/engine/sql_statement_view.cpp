#include "engine/sql_statement_view.h"

#include "util/text.h"

namespace clipcat {

bool IsComparison(const SqlToken& token) {
  if (token.kind != SqlTokenKind::kOperator) return false;
  static constexpr std::string_view kOperators[] = {"=", "==", "<>", "!=", "<", "<=", ">", ">="};
  for (std::string_view op : kOperators) {
    if (token.text == op) return true;
  }
  return false;
}

bool IsWord(const SqlToken& token, std::string_view word) {
  return token.kind == SqlTokenKind::kIdentifier && EqualsIgnoreCase(token.text, word);
}

bool IsName(const SqlToken& token) {
  return token.kind == SqlTokenKind::kIdentifier || token.kind == SqlTokenKind::kQuotedIdentifier;
}

bool MayChangeSchema(std::string_view sql) {
  for (const SqlToken& token : TokenizeSql(sql)) {
    if (IsInsignificant(token)) continue;
    return IsWord(token, "create") || IsWord(token, "alter") || IsWord(token, "drop");
  }
  return false;
}

SqlStatementView::SqlStatementView(std::string_view sql) : tokens_(TokenizeSql(sql)) {
  for (size_t i = 0; i < tokens_.size(); ++i) {
    if (!IsInsignificant(tokens_[i])) significant_.push_back(i);
  }
}

size_t SqlStatementView::LastNamePart(size_t k) const {
  while (k + 2 < Count() && IsName(Sig(k)) && Sig(k + 1).text == "." && IsName(Sig(k + 2))) {
    k += 2;
  }
  return k;
}

void SqlStatementView::ForEachInsertValue(
    const std::function<void(const SqlToken& column, size_t first, size_t end)>& visit) const {
  const size_t n = Count();
  if (n < 2 || !(IsWord(Sig(0), "insert") || IsWord(Sig(0), "replace"))) return;
  size_t k = 1;
  while (k < n && !IsWord(Sig(k), "into")) ++k;
  if (++k >= n || !IsName(Sig(k))) return;
  ++k;
  while (k + 1 < n && Sig(k).text == "." && IsName(Sig(k + 1))) k += 2;
  if (k >= n || Sig(k).text != "(") return;
  std::vector<size_t> columns;
  for (++k; k < n && Sig(k).text != ")"; ++k) {
    if (Sig(k).text == ",") continue;
    if (!IsName(Sig(k))) return;
    columns.push_back(k);
  }
  if (++k >= n || !IsWord(Sig(k), "values")) return;
  ++k;
  while (k < n && Sig(k).text == "(") {
    size_t position = 0;
    int depth = 0;
    size_t value_start = k + 1;
    for (++k; k < n; ++k) {
      const std::string_view t = Sig(k).text;
      if (t == "(") {
        ++depth;
      } else if (t == ")" && depth > 0) {
        --depth;
      } else if ((t == "," || t == ")") && depth == 0) {
        if (position < columns.size()) visit(Sig(columns[position]), value_start, k);
        ++position;
        value_start = k + 1;
        if (t == ")") break;
      }
    }
    if (++k < n && Sig(k).text == ",") ++k;
  }
}

}  // namespace clipcat
