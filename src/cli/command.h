// One command of clipcat as a unit: its name, its help line, the arguments and options it takes
// and what it does. main asks every unit to declare itself on its subcommand, parses, and runs
// the one the command line named.
#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "cli/commands.h"

namespace CLI {
class App;
}  // namespace CLI

namespace clipcat::cli {

class Command {
 public:
  Command(std::string name, std::string help) : name_(std::move(name)), help_(std::move(help)) {}
  virtual ~Command() = default;
  Command(const Command&) = delete;
  Command& operator=(const Command&) = delete;

  const std::string& name() const { return name_; }
  const std::string& help() const { return help_; }

  // Declares the command's arguments and options on its subcommand, bound to the unit's fields.
  virtual void Declare(CLI::App& command) = 0;
  // Whether the default catalog is made (seeded with the sample library) before Run when it does
  // not exist yet; false for the commands that create or seed a catalog themselves.
  virtual bool UsesDefaultCatalog() const { return true; }
  // Runs the command on the catalog `context` selects. Raises AutomationError for what fails,
  // UsageError for a command line the parser could not judge.
  virtual void Run(const Context& context) = 0;

 private:
  std::string name_;
  std::string help_;
};

// Every command, in the order the help lists them.
std::vector<std::unique_ptr<Command>> AllCommands();

}  // namespace clipcat::cli
