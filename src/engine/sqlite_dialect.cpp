#include "engine/sqlite_dialect.h"

#include <map>
#include <set>
#include <vector>

#include "engine/sql_statement_view.h"
#include "util/date.h"
#include "util/date_text.h"
#include "util/text.h"

namespace clipcat {
namespace {

class Translator {
 public:
  Translator(std::string_view sql, const DateColumnSet& date_columns)
      : sql_(sql), view_(sql), tokens_(view_.tokens()), date_columns_(date_columns) {}

  // The statement's tokens; the translator is done with them.
  std::vector<SqlToken> TakeTokens() { return view_.TakeTokens(); }

  std::string Run() {
    MarkInsertValues();
    MarkComparisonsAndCalls();
    MarkEqualityChains();
    // Most statements need nothing changed: the tokens would only join into the text again.
    if (in_lists_.empty() && date_literals_.empty()) return std::string(sql_);
    std::string out;
    for (size_t i = 0; i < tokens_.size(); ++i) {
      if (const auto chain = in_lists_.find(i); chain != in_lists_.end()) {
        out += chain->second.text;
        i = chain->second.last;
        continue;
      }
      if (date_literals_.count(i) != 0) {
        const auto date = ParseDateText(StringLiteralValue(tokens_[i]));
        if (date && date->IsValid()) {
          out += QuoteStringLiteral(FormatIsoDate(*date));
          continue;
        }
      }
      out += tokens_[i].text;
    }
    return out;
  }

 private:
  const SqlToken& Sig(size_t k) const { return view_.Sig(k); }
  size_t Count() const { return view_.Count(); }
  size_t LastNamePart(size_t k) const { return view_.LastNamePart(k); }

  bool IsDateColumn(const SqlToken& token) const {
    return IsName(token) && date_columns_.count(ToLowerAscii(IdentifierName(token))) != 0;
  }

  void MarkIfString(size_t k) {
    if (k < Count() && Sig(k).kind == SqlTokenKind::kString) {
      date_literals_.insert(view_.TokenIndex(k));
    }
  }

  // A date column's value in an INSERT that is one string literal and nothing else.
  void MarkInsertValues() {
    view_.ForEachInsertValue([this](const SqlToken& column, size_t first, size_t end) {
      if (end == first + 1 && IsDateColumn(column)) MarkIfString(first);
    });
  }

  void MarkComparisonsAndCalls() {
    struct Group {
      bool datediff;
      size_t argument;
    };
    std::vector<Group> groups;
    const size_t n = Count();
    for (size_t k = 0; k < n; ++k) {
      const SqlToken& token = Sig(k);
      if (token.text == "(") {
        groups.push_back({k > 0 && IsWord(Sig(k - 1), "datediff"), 0});
      } else if (token.text == ")") {
        if (!groups.empty()) groups.pop_back();
      } else if (token.text == ",") {
        if (!groups.empty()) ++groups.back().argument;
      } else if (token.kind == SqlTokenKind::kString) {
        if (!groups.empty() && groups.back().datediff && groups.back().argument > 0) {
          MarkIfString(k);
        }
        if (k >= 2 && IsComparison(Sig(k - 1)) && IsDateColumn(Sig(k - 2))) MarkIfString(k);
        if (k + 2 < n && IsComparison(Sig(k + 1)) && IsDateColumn(Sig(LastNamePart(k + 2)))) {
          MarkIfString(k);
        }
        if (k >= 2 && IsWord(Sig(k - 1), "between") && IsDateColumn(Sig(k - 2))) MarkIfString(k);
        if (k >= 4 && IsWord(Sig(k - 1), "and") && Sig(k - 2).kind == SqlTokenKind::kString &&
            IsWord(Sig(k - 3), "between") && IsDateColumn(Sig(k - 4))) {
          MarkIfString(k);
        }
      }
    }
  }

  // The tokens of one side of an equality that names a column: "name" or "table.name", from `k`.
  // Answers the index after it, or `k` when there is none.
  size_t ColumnEnd(size_t k) const {
    if (k >= Count() || !IsName(Sig(k))) return k;
    return LastNamePart(k) + 1;
  }

  // A number literal, optionally negative, or Null, from `k`: answers the index after it, or `k`.
  size_t LiteralEnd(size_t k) const {
    const size_t n = Count();
    if (k < n && IsWord(Sig(k), "null")) return k + 1;
    if (k < n && Sig(k).text == "-") ++k;
    return k < n && Sig(k).kind == SqlTokenKind::kNumber ? k + 1 : k;
  }

  // The text of significant tokens [from, to) without what lies between them.
  std::string Joined(size_t from, size_t to) const {
    std::string text;
    for (size_t k = from; k < to; ++k) text += Sig(k).text;
    return text;
  }

  // "col=1 OR col=2 OR ... OR col=n" as a whole condition (after "(" or WHERE, before ")", the
  // end or ORDER/GROUP/LIMIT, so that no AND around it binds tighter) becomes "col IN (1,2,...)".
  // Folder subtrees give such chains of any length, and SQLite refuses an expression deeper than
  // 1,000 terms; the list means the same and has no depth.
  void MarkEqualityChains() {
    const size_t n = Count();
    for (size_t k = 0; k + 1 < n; ++k) {
      if (!(Sig(k).text == "(" || IsWord(Sig(k), "where"))) continue;
      const size_t start = k + 1;
      const size_t column_end = ColumnEnd(start);
      if (column_end == start) continue;
      const std::string column = Joined(start, column_end);
      std::vector<std::string> values;
      size_t at = start;
      while (true) {
        const size_t name_end = ColumnEnd(at);
        if (name_end == at || !EqualsIgnoreCase(Joined(at, name_end), column)) break;
        if (name_end >= n || Sig(name_end).text != "=") break;
        const size_t value_end = LiteralEnd(name_end + 1);
        if (value_end == name_end + 1) break;
        values.push_back(Joined(name_end + 1, value_end));
        at = value_end;
        if (at < n && IsWord(Sig(at), "or")) {
          ++at;
          continue;
        }
        const bool bounded = at == n || Sig(at).text == ")" || IsWord(Sig(at), "order") ||
                             IsWord(Sig(at), "group") || IsWord(Sig(at), "limit");
        if (bounded && values.size() > 1) {
          std::string list = column + " IN (";
          for (size_t v = 0; v < values.size(); ++v) list += (v == 0 ? "" : ",") + values[v];
          in_lists_[view_.TokenIndex(start)] = {view_.TokenIndex(at - 1), list + ")"};
        }
        break;
      }
    }
  }

  struct InList {
    size_t last;       // index into tokens_ of the chain's last token
    std::string text;  // what replaces the chain
  };

  std::string_view sql_;
  SqlStatementView view_;
  const std::vector<SqlToken>& tokens_;  // every token, spaces and comments included
  const DateColumnSet& date_columns_;
  std::set<size_t> date_literals_;     // indexes into tokens_ of literals in a date position
  std::map<size_t, InList> in_lists_;  // by index into tokens_ of an equality chain's first token
};

}  // namespace

std::string TranslateSqlForSqlite(std::string_view sql, const DateColumnSet& date_columns) {
  return Translator(sql, date_columns).Run();
}

std::string TranslateSqlForSqlite(std::string_view sql, const DateColumnSet& date_columns,
                                  std::vector<SqlToken>& tokens) {
  Translator translator(sql, date_columns);
  std::string text = translator.Run();
  tokens.clear();
  if (text == sql) tokens = translator.TakeTokens();
  return text;
}

}  // namespace clipcat
