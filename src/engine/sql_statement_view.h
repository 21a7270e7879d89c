// The meaningful tokens of one statement, for the backends' rewrites: what both dialects need to
// find their way around the store's SQL (comparisons, qualified names, INSERT value lists)
// without each walking the tokens its own way. Does not own the text the tokens view.
#pragma once

#include <cstddef>
#include <functional>
#include <string_view>
#include <utility>
#include <vector>

#include "engine/sql_tokenizer.h"

namespace clipcat {

// True for the comparison operators = == <> != < <= > >=.
bool IsComparison(const SqlToken& token);

// True when `token` is the keyword or unquoted name `word`, compared without ASCII case.
bool IsWord(const SqlToken& token, std::string_view word);

// True for names, quoted or not.
bool IsName(const SqlToken& token);

// True when the statement begins with CREATE, ALTER or DROP: it may change the schema, and what a
// backend knows of the columns must be read again.
bool MayChangeSchema(std::string_view sql);

class SqlStatementView {
 public:
  explicit SqlStatementView(std::string_view sql);

  // Every token of the statement, spaces and comments included.
  const std::vector<SqlToken>& tokens() const { return tokens_; }
  // The tokens, moved out: the view is empty afterwards.
  std::vector<SqlToken> TakeTokens() {
    significant_.clear();
    return std::move(tokens_);
  }

  // The number of meaningful tokens, and the k-th of them.
  size_t Count() const { return significant_.size(); }
  const SqlToken& Sig(size_t k) const { return tokens_[significant_[k]]; }
  // The index into tokens() of the k-th meaningful token.
  size_t TokenIndex(size_t k) const { return significant_[k]; }

  // The last part of a qualified name ("GroupClipping.tUpdated") that starts at `k`.
  size_t LastNamePart(size_t k) const;

  // For "INSERT|REPLACE INTO name [. name] ( c1, c2 ... ) VALUES ( v1, v2 ... ) [, ( ... ) ...]":
  // calls `visit(column, first, end)` for every value that has a column, with the column's name
  // token and the value's meaningful tokens [first, end). Does nothing for any other statement.
  void ForEachInsertValue(
      const std::function<void(const SqlToken& column, size_t first, size_t end)>& visit) const;

 private:
  std::vector<SqlToken> tokens_;
  std::vector<size_t> significant_;
};

}  // namespace clipcat
