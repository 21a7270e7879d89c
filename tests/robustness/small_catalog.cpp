#include "robustness/small_catalog.h"

#include <stdexcept>

#include "robustness/robustness_support.h"

namespace clipcat::robustness {
namespace {

std::string Ok(const std::string& path, const std::vector<std::string>& args,
               const std::string& scratch) {
  const CliResult result = RunOn(path, args, scratch);
  if (result.status != 0) {
    throw std::runtime_error("clipcat " + args.at(0) + " failed: " + result.Describe());
  }
  std::string out = result.out;
  while (!out.empty() && (out.back() == '\n' || out.back() == ' ')) out.pop_back();
  return out;
}

}  // namespace

CliResult RunOn(const std::string& path, std::vector<std::string> args,
                const std::string& scratch) {
  args.insert(args.begin(), {"--catalog", path});
  return RunClipcat(args, scratch);
}

std::string SmallCatalogText(int index, size_t size) {
  return "alpha " + Letters(static_cast<uint64_t>(index) + 1, size);
}

SmallCatalog MakeSmallCatalog(const std::string& path, const std::string& scratch, int count) {
  SmallCatalog catalog{path, {}, {}};
  Ok(path, {"init", "--name", "Personal"}, scratch);
  const std::string letters = Ok(path, {"-q", "mkdir", "1", "Letters"}, scratch);
  const std::string notes = Ok(path, {"-q", "mkdir", "1", "Notes"}, scratch);
  for (int i = 0; i < count; ++i) {
    const std::string text = SmallCatalogText(i);
    const std::string folder = i % 2 == 0 ? letters : notes;
    catalog.clippings.push_back(
        Ok(path, {"-q", "add", folder, "Clipping " + std::to_string(i), "--text", text}, scratch));
    catalog.contents.push_back(text);
  }
  Ok(path, {"tag", catalog.clippings.front(), catalog.clippings.back(), "Work"}, scratch);
  return catalog;
}

std::vector<std::vector<std::string>> ReadCommands(const SmallCatalog& catalog) {
  std::vector<std::vector<std::string>> commands = {
      {"tree"},
      {"ls", "1"},
      {"search", "alpha"},
      {"cat", catalog.clippings.front()},
      {"cat", catalog.clippings.back()},
      {"export"},
      {"categories"},
      {"info"},
  };
  for (auto& command : commands) command.insert(command.begin(), {"--catalog", catalog.path});
  return commands;
}

}  // namespace clipcat::robustness
