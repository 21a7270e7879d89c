// A small catalog made through the clipcat command, for the tests that damage, fill or lock away
// its file: a few folders, clippings whose content does not compress (so that the file spans a
// few dozen pages and every clipping has a frame of its own), a category, and the read commands
// whose answers those tests compare. Used from the test thread only.
#pragma once

#include <string>
#include <vector>

#include "robustness/cli_runner.h"

namespace clipcat::robustness {

struct SmallCatalog {
  std::string path;
  std::vector<std::string> clippings;  // ids, in the order added
  std::vector<std::string> contents;   // their text, in the same order
};

// Makes the catalog at `path` with `count` clippings; raises std::runtime_error with the
// command's error when a step fails. `scratch` takes the commands' output files.
SmallCatalog MakeSmallCatalog(const std::string& path, const std::string& scratch, int count = 8);

// The text of the `index`th clipping of a small catalog: the word "alpha" (which a search
// finds in every one) and letters that do not compress.
std::string SmallCatalogText(int index, size_t size = 1200);

// Commands that only read the catalog: tree, ls of the top folder, a content search, cat of the
// first and last clipping, export to standard output, categories and info. Each begins with
// "--catalog PATH".
std::vector<std::vector<std::string>> ReadCommands(const SmallCatalog& catalog);

// clipcat --catalog PATH ARGS..., as RunClipcat runs it.
CliResult RunOn(const std::string& path, std::vector<std::string> args, const std::string& scratch);

}  // namespace clipcat::robustness
