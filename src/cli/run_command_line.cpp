#include "cli/run_command_line.h"

#include <CLI/CLI.hpp>
#include <clocale>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "automation/register_classes.h"
#include "cli/call_command.h"
#include "cli/command.h"
#include "cli/error_text.h"
#include "cli/generated_files.h"
#include "cli/progress.h"
#include "cli/usage_help.h"
#include "library/catalog_location.h"
#include "library/content_index.h"
#include "library/request_scope.h"
#include "util/errors.h"

namespace clipcat::cli {
namespace {

constexpr int kExitFailure = 1;
constexpr int kExitUsage = 64;

// The error on one line; with --verbose, the rest of a description that an engine gave on
// several lines follows, indented.
int ReportError(const clipcat::AutomationError& e, bool as_raised, bool verbose) {
  std::cerr << clipcat::cli::ErrorLine(e, as_raised) << "\n";
  if (verbose) std::cerr << clipcat::cli::VerboseDetail(e, as_raised);
  return kExitFailure;
}

}  // namespace

int RunCommandLine(int argc, char** argv) {
  // Display widths (wcwidth) need a UTF-8 character type: the user's, else C.UTF-8.
  if (setlocale(LC_CTYPE, "") == nullptr || MB_CUR_MAX == 1) setlocale(LC_CTYPE, "C.UTF-8");
  CLI::App app{"clipcat - a catalog of named, reusable clippings", "clipcat"};
  app.set_version_flag("--version", std::string("clipcat ") + CLIPCAT_VERSION);
  app.require_subcommand(1);
  // The catalog options may also follow the command: clipcat tree --xml.
  app.fallthrough();
  app.footer(
      "The catalog: --connection XML, else --catalog PATH, else $CLIPCAT_CATALOG, else\n"
      "${XDG_DATA_HOME:-$HOME/.local/share}/clipcat/catalog.db (only this default catalog is\n"
      "created on first use; init creates the others).\n"
      "Exit status: 0 done; 1 failed, with \"error: DESCRIPTION (error NUMBER, SOURCE)\" on\n"
      "standard error; 64 the command line is wrong. clipcat help COMMAND (or clipcat COMMAND\n"
      "--help) tells more; docs/cli.md has an example of every command.");

  std::string catalog_option, connection_option;
  bool xml = false, json = false, tsv = false, quiet = false, verbose = false;
  auto* catalog_flag = app.add_option("--catalog", catalog_option,
                                      "Catalog file (default: $CLIPCAT_CATALOG, then the personal "
                                      "catalog in the data directory)");
  app.add_option("--connection", connection_option,
                 "The catalog's connection details as XML, for any kind of catalog")
      ->excludes(catalog_flag);
  auto* xml_flag = app.add_flag("--xml", xml, "Print the entities' XML instead of text for people");
  auto* json_flag =
      app.add_flag(
             "--json", json,
             "Print one JSON document: lower-case keys, dates in UTC ISO 8601, null for never")
          ->excludes(xml_flag);
  app.add_flag("--tsv", tsv, "Print tables as a header line and tab-separated rows (\\t \\n \\\\)")
      ->excludes(xml_flag)
      ->excludes(json_flag);
  app.add_flag("-q,--quiet", quiet,
               "Print only what the command exists to produce (ids, content), no messages");
  app.add_flag("-v,--verbose", verbose,
               "After an error's line, also print the rest of what the engine said about it");

  const auto commands = AllCommands();
  for (const auto& command : commands) {
    command->Declare(*app.add_subcommand(command->name(), command->help()));
  }
  const std::vector<std::string> words = CommandWords(argc, argv);
  if (!words.empty() && words.front() == "help") return PrintHelp(app, words) ? 0 : kExitUsage;
  // The build writes the completion scripts and the man page with this, from the parser above.
  if (argc == 3 && std::string(argv[1]) == "--generate") {
    return WriteGenerated(app, argv[2], CLIPCAT_VERSION, std::cout) ? 0 : kExitUsage;
  }
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& e) {
    if (e.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) return app.exit(e);
    if (words.empty()) {
      // Bare clipcat: what there is to do.
      std::cerr << "error: a command is required\n\n" << app.help();
      return kExitUsage;
    }
    if (app.get_subcommands().empty()) {
      std::cerr << "error: clipcat has no command \"" << words.front() << "\"\n";
    } else {
      std::cerr << "error: " << e.what() << "\n";
    }
    const std::string suggestion = DidYouMean(app, words);
    if (!suggestion.empty()) std::cerr << suggestion << "\n";
    std::cerr << "(clipcat help lists the commands; clipcat help COMMAND tells one's options)\n";
    return kExitUsage;
  }

  // An older catalog's content index is made when it is first opened: a bar shows how far. The
  // report goes with this call, which may not be the process's last.
  std::unique_ptr<ProgressBar> index_build;
  struct StopReporting {
    ~StopReporting() { ReportIndexBuilds({}); }
  } stop_reporting;
  try {
    clipcat::RegisterClasses();
    ReportIndexBuilds([&](size_t done, size_t total) {
      if (index_build == nullptr) index_build = std::make_unique<ProgressBar>("index");
      index_build->Update(done, total);
      if (done >= total) index_build.reset();
    });
    Context context{
        SelectCatalog(catalog_option, connection_option), std::cout, xml, json, tsv, quiet};
    for (const auto& command : commands) {
      if (!app.get_subcommand(command->name())->parsed()) continue;
      if (command->UsesDefaultCatalog()) EnsureDefaultCatalog(context.location);
      // A command is one request: what a service member leaves open ends with it.
      RunRequest([&] { command->Run(context); });
    }
    return 0;
  } catch (const NothingFound&) {
    return kExitFailure;
  } catch (const UsageError& e) {
    std::cerr << "error: " << e.what() << "\n";
    return kExitUsage;
  } catch (const clipcat::AutomationError& e) {
    // A member called by name raises what its contract says; it is shown as raised.
    return ReportError(e, app.get_subcommand("call")->parsed(), verbose);
  } catch (const std::exception& e) {
    return ReportError(clipcat::AutomationError(clipcat::err::kInvalidProcedureCall,
                                                clipcat::kComponentSource, e.what()),
                       false, verbose);
  }
}

}  // namespace clipcat::cli
