// The one exception type of the C++ interface: every failure of a clipcat call is a clipcat::Error
// carrying the catalog's error number, the source that raised it and a description, the same
// three that the command line prints and the HTTP gateway answers.
#pragma once

#include <cstdint>
#include <exception>
#include <string>

#include "clipcat/export.h"

CLIPCAT_BEGIN_NAMESPACE

class CLIPCAT_API Error : public std::exception {
 public:
  Error(int32_t number, std::string source, std::string description);
  ~Error() override;

  // The error number: 5 for a request the catalog cannot carry out as asked (a path that names
  // nothing, a search without a word), -2147220994 for a catalog that cannot be opened ...
  // (docs/errors.md lists them).
  int32_t number() const noexcept { return number_; }
  // "clipcat", "Data Services", or the engine that raised it.
  const std::string& source() const noexcept { return source_; }
  const std::string& description() const noexcept { return description_; }

  // "number (source): description".
  const char* what() const noexcept override;

 private:
  int32_t number_;
  std::string source_;
  std::string description_;
  std::string what_;
};

CLIPCAT_END_NAMESPACE
