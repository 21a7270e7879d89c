#include "store/content_query.h"

#include <utility>

#include "util/errors.h"

namespace clipcat {
namespace {

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f'; }

[[noreturn]] void RaiseBadQuery(const std::string& description) {
  RaiseError(err::kInvalidProcedureCall, kDataServicesSource, description);
}

// One chunk of the search text as the reader finds it.
struct Chunk {
  std::string_view text;
  bool quoted = false;
  bool excluded = false;
  bool prefix = false;
};

std::vector<Chunk> SplitChunks(std::string_view text) {
  std::vector<Chunk> chunks;
  size_t at = 0;
  while (at < text.size()) {
    if (IsBlank(text[at])) {
      ++at;
      continue;
    }
    Chunk chunk;
    if (text[at] == '-' && at + 1 < text.size() && !IsBlank(text[at + 1])) {
      chunk.excluded = true;
      ++at;
    }
    if (text[at] == '"') {
      chunk.quoted = true;
      const size_t close = text.find('"', at + 1);
      const size_t end = close == std::string_view::npos ? text.size() : close;
      chunk.text = text.substr(at + 1, end - at - 1);
      at = close == std::string_view::npos ? text.size() : close + 1;
      if (at < text.size() && text[at] == '*') {
        chunk.prefix = true;
        ++at;
      }
    } else {
      size_t end = at;
      while (end < text.size() && !IsBlank(text[end]) && text[end] != '"') ++end;
      chunk.text = text.substr(at, end - at);
      at = end;
      chunk.prefix = !chunk.text.empty() && chunk.text.back() == '*';
    }
    chunks.push_back(chunk);
  }
  return chunks;
}

QueryTerm TermOf(const Chunk& chunk) {
  QueryTerm term;
  const std::vector<WordSpan> spans = SplitWords(chunk.text);
  for (const WordSpan& span : spans) {
    std::string word = FoldWord(chunk.text.substr(span.begin, span.end - span.begin));
    // A "word" of nothing but diacritics folds to nothing.
    if (!word.empty()) term.words.push_back(std::move(word));
  }
  if (term.words.empty()) return term;
  // A bare word is a prefix only when the "*" follows its last letter.
  term.prefix = chunk.prefix && (chunk.quoted || spans.back().end + 1 == chunk.text.size());
  return term;
}

std::string QuotedFts5(const QueryTerm& term) {
  std::string phrase;
  for (const std::string& word : term.words) {
    if (!phrase.empty()) phrase += ' ';
    for (const char c : word) phrase += c == '"' ? std::string("\"\"") : std::string(1, c);
  }
  return "\"" + phrase + "\"" + (term.prefix ? "*" : "");
}

std::string QuotedTsQuery(const QueryTerm& term) {
  std::string phrase;
  for (size_t i = 0; i < term.words.size(); ++i) {
    std::string lexeme;
    for (const char c : term.words[i]) {
      if (c == '\'' || c == '\\') lexeme += c;
      lexeme += c;
    }
    if (i > 0) phrase += " <-> ";
    phrase += "'" + lexeme + "'";
    if (term.prefix && i + 1 == term.words.size()) phrase += ":*";
  }
  return term.words.size() > 1 ? "(" + phrase + ")" : phrase;
}

template <typename Quote>
std::string Render(const ContentQuery& query, const char* and_op, const char* or_op,
                   const char* not_op, Quote quote) {
  std::string expression;
  for (const std::vector<QueryTerm>& alternatives : query.required) {
    std::string group;
    for (const QueryTerm& term : alternatives) {
      if (!group.empty()) group += or_op;
      group += quote(term);
    }
    if (!expression.empty()) expression += and_op;
    expression += alternatives.size() > 1 ? "(" + group + ")" : group;
  }
  if (query.excluded.empty()) return expression;
  expression = "(" + expression + ")";
  for (const QueryTerm& term : query.excluded) expression += not_op + quote(term);
  return expression;
}

}  // namespace

std::vector<SnippetTerm> ContentQuery::SnippetTerms() const {
  std::vector<SnippetTerm> terms;
  for (const auto& alternatives : required) {
    for (const QueryTerm& term : alternatives) {
      for (size_t i = 0; i < term.words.size(); ++i) {
        terms.push_back({term.words[i], term.prefix && i + 1 == term.words.size()});
      }
    }
  }
  return terms;
}

ContentQuery ParseContentQuery(std::string_view text) {
  ContentQuery query;
  size_t words = 0;
  bool join_next = false;  // an OR stands before the next term
  for (const Chunk& chunk : SplitChunks(text)) {
    if (!chunk.quoted && !chunk.excluded && chunk.text == "OR") {
      join_next = !query.required.empty();
      continue;
    }
    QueryTerm term = TermOf(chunk);
    if (term.words.empty()) continue;
    words += term.words.size();
    if (words > kMaxQueryWords) {
      RaiseBadQuery("The search text holds more than " + std::to_string(kMaxQueryWords) +
                    " words; search for fewer.");
    }
    if (chunk.excluded) {
      query.excluded.push_back(std::move(term));
    } else if (join_next) {
      query.required.back().push_back(std::move(term));
    } else {
      query.required.push_back({std::move(term)});
    }
    join_next = false;
  }
  if (query.required.empty()) {
    RaiseBadQuery(
        "The search text holds no word to look for (a word to leave out needs one to find).");
  }
  return query;
}

std::string Fts5MatchExpression(const ContentQuery& query) {
  return Render(query, " AND ", " OR ", " NOT ", QuotedFts5);
}

std::string TsQueryText(const ContentQuery& query) {
  return Render(query, " & ", " | ", " & !", QuotedTsQuery);
}

}  // namespace clipcat
