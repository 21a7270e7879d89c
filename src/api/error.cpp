#include <clipcat/error.h>

#include <utility>

namespace clipcat::v0 {

Error::Error(int32_t number, std::string source, std::string description)
    : number_(number),
      source_(std::move(source)),
      description_(std::move(description)),
      what_(std::to_string(number_) + " (" + source_ + "): " + description_) {}

Error::~Error() = default;

const char* Error::what() const noexcept { return what_.c_str(); }

}  // namespace clipcat::v0
