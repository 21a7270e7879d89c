// The clipcat command: people's and scripts' way into a clipping catalog.
#include <CLI/CLI.hpp>
#include <iostream>

int main(int argc, char** argv) {
  CLI::App app{"clipcat - a catalog of named, reusable clippings", "clipcat"};
  app.set_version_flag("--version", std::string("clipcat ") + CLIPCAT_VERSION);
  CLI11_PARSE(app, argc, argv);
  std::cout << app.help();
  return 0;
}
