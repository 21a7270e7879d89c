// A content search as a person types it, read into words, and written as the one engine's
// full-text query that means exactly that: every word and phrase reaches the engine quoted, as a
// literal, so that no text of the search is ever read as the engine's query syntax.
//
// The search text: words that must all occur ("late payment"); "quoted phrases" whose words
// occur in that order (an unclosed quote runs to the end); a word or phrase ending in "*"
// matches the words it begins; "-word" or -"a phrase" must not occur; OR (in capitals) between
// two words or phrases lets either occur. Case and diacritics are ignored. Characters that are
// neither letters nor digits separate words: "e-mail" is the phrase "e mail".
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "util/search_words.h"

namespace clipcat {

// One word or phrase of a search: its folded words in order.
struct QueryTerm {
  std::vector<std::string> words;
  bool prefix = false;  // the last word also matches the longer words it begins
};

struct ContentQuery {
  // Each entry must match: one of its alternatives (more than one where OR joined them).
  std::vector<std::vector<QueryTerm>> required;
  // None of these may match.
  std::vector<QueryTerm> excluded;

  // The terms a matching text shows, for snippets.
  std::vector<SnippetTerm> SnippetTerms() const;
};

// The most words a search may hold.
inline constexpr size_t kMaxQueryWords = 64;

// Reads a search text. Raises 5 (source "Data Services") when it holds no word that must occur,
// or more than kMaxQueryWords words.
ContentQuery ParseContentQuery(std::string_view text);

// The FTS5 MATCH expression for `query`: every term a double-quoted string.
std::string Fts5MatchExpression(const ContentQuery& query);

// The text of a PostgreSQL tsquery for `query` ('simple' configuration): every word a quoted
// lexeme.
std::string TsQueryText(const ContentQuery& query);

}  // namespace clipcat
