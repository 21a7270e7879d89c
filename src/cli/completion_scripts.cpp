#include "cli/completion_scripts.h"

#include <sstream>

namespace clipcat::cli {
namespace {

// Every "clipcat CMD" and "clipcat CMD SUB" with its reference, depth first; `path` is the words
// after the program.
void Walk(const CommandReference& command, const std::string& path,
          std::vector<std::pair<std::string, const CommandReference*>>& out) {
  for (const CommandReference& sub : command.commands) {
    const std::string words = path.empty() ? sub.name : path + " " + sub.name;
    out.emplace_back(words, &sub);
    Walk(sub, words, out);
  }
}

std::vector<std::pair<std::string, const CommandReference*>> AllCommands(
    const CommandReference& program) {
  std::vector<std::pair<std::string, const CommandReference*>> out;
  Walk(program, "", out);
  return out;
}

std::string Join(const std::vector<std::string>& words, const char* between) {
  std::string out;
  for (const std::string& word : words) out += (out.empty() ? "" : between) + word;
  return out;
}

// The option names of `command` whose value is (is not) a file, or that take no value.
std::vector<std::string> OptionNames(const CommandReference& command, bool value, bool file) {
  std::vector<std::string> names;
  for (const OptionReference& option : command.options) {
    if (option.takes_value != value || (value && option.file != file)) continue;
    names.insert(names.end(), option.names.begin(), option.names.end());
  }
  return names;
}

bool TakesFileArgument(const CommandReference& command) {
  for (const OptionReference& argument : command.arguments) {
    if (argument.file) return true;
  }
  return false;
}

std::vector<std::string> AllOptionNames(const CommandReference& command) {
  std::vector<std::string> names;
  for (const OptionReference& option : command.options) {
    names.insert(names.end(), option.names.begin(), option.names.end());
  }
  return names;
}

// `text` inside single quotes for a POSIX shell or zsh.
std::string ShellQuoted(const std::string& text) {
  std::string out = "'";
  for (char c : text) out += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return out + "'";
}

// The bash `case "$prev"` branches that complete an option's value: files for file values,
// nothing for the others.
void BashValueCases(std::ostream& out, const CommandReference& command,
                    const CommandReference& program, const char* indent) {
  std::vector<std::string> files = OptionNames(command, true, true);
  std::vector<std::string> others = OptionNames(command, true, false);
  if (&command != &program) {
    const auto global_files = OptionNames(program, true, true);
    const auto global_others = OptionNames(program, true, false);
    files.insert(files.end(), global_files.begin(), global_files.end());
    others.insert(others.end(), global_others.begin(), global_others.end());
  }
  if (files.empty() && others.empty()) return;
  out << indent << "case \"$prev\" in\n";
  if (!files.empty()) {
    out << indent << "  " << Join(files, "|")
        << ") COMPREPLY=($(compgen -f -- \"$cur\")); return 0 ;;\n";
  }
  if (!others.empty()) out << indent << "  " << Join(others, "|") << ") return 0 ;;\n";
  out << indent << "esac\n";
}

}  // namespace

std::string BashCompletion(const CommandReference& program) {
  const auto commands = AllCommands(program);
  const std::vector<std::string> global_values = OptionNames(program, true, false);
  std::vector<std::string> skip = OptionNames(program, true, true);
  skip.insert(skip.end(), global_values.begin(), global_values.end());
  std::vector<std::string> top_words = {"help"};
  for (const CommandReference& command : program.commands) top_words.push_back(command.name);
  const std::vector<std::string> global_options = AllOptionNames(program);

  std::ostringstream out;
  out << "# bash completion for " << program.name << ". Written by `" << program.name
      << " --generate completion-bash` from its own\n# command line: do not edit.\n"
      << "_" << program.name << "() {\n"
      << "  local cur=\"${COMP_WORDS[COMP_CWORD]}\" prev=\"\"\n"
      << "  ((COMP_CWORD > 0)) && prev=\"${COMP_WORDS[COMP_CWORD - 1]}\"\n"
      << "  COMPREPLY=()\n"
      << "  # The command (and its own command) named so far; the values of options are skipped.\n"
      << "  local command=\"\" word i\n"
      << "  for ((i = 1; i < COMP_CWORD; i++)); do\n"
      << "    word=\"${COMP_WORDS[i]}\"\n"
      << "    case \"$word\" in\n";
  if (!skip.empty()) out << "      " << Join(skip, "|") << ") ((i++)); continue ;;\n";
  out << "      -*) continue ;;\n"
      << "    esac\n"
      << "    if [[ -z $command ]]; then\n"
      << "      command=\"$word\"\n"
      << "      [[ $command == call ]] && return 0\n"
      << "      continue\n"
      << "    fi\n"
      << "    case \"$command $word\" in\n";
  for (const auto& [path, command] : commands) {
    if (path.find(' ') != std::string::npos) {
      out << "      " << ShellQuoted(path) << ") command=" << ShellQuoted(path) << " ;;\n";
    }
  }
  out << "    esac\n"
      << "  done\n"
      << "  local words=\"\" files=0\n"
      << "  case \"$command\" in\n"
      << "    \"\" | help)\n";
  BashValueCases(out, program, program, "      ");
  out << "      words=" << ShellQuoted(Join(top_words, " ") + " " + Join(global_options, " "))
      << " ;;\n";
  for (const auto& [path, command] : commands) {
    out << "    " << ShellQuoted(path) << ")\n";
    BashValueCases(out, *command, program, "      ");
    std::vector<std::string> words;
    for (const CommandReference& sub : command->commands) words.push_back(sub.name);
    const auto own = AllOptionNames(*command);
    words.insert(words.end(), own.begin(), own.end());
    words.insert(words.end(), global_options.begin(), global_options.end());
    out << "      words=" << ShellQuoted(Join(words, " "));
    if (TakesFileArgument(*command)) out << "; files=1";
    out << " ;;\n";
  }
  out << "  esac\n"
      << "  COMPREPLY=($(compgen -W \"$words\" -- \"$cur\"))\n"
      << "  if ((files)) && [[ $cur != -* ]]; then COMPREPLY+=($(compgen -f -- \"$cur\")); fi\n"
      << "  return 0\n"
      << "}\n"
      << "complete -F _" << program.name << " " << program.name << "\n";
  return out.str();
}

namespace {

// A description inside an _arguments spec's brackets.
std::string ZshDescription(const std::string& text) {
  std::string out;
  for (char c : text) {
    if (c == '[' || c == ']' || c == '\\' || c == ':') out += '\\';
    if (c == '\n') c = ' ';
    out += c;
  }
  return out;
}

void ZshOptionSpecs(std::ostream& out, const CommandReference& command, const char* indent) {
  for (const OptionReference& option : command.options) {
    for (const std::string& name : option.names) {
      std::string spec = name + "[" + ZshDescription(option.description) + "]";
      if (option.takes_value) spec += option.file ? ":file:_files" : ":value: ";
      out << indent << ShellQuoted(spec) << " \\\n";
    }
  }
}

std::string ZshFunction(const std::string& path) {
  std::string name = "_clipcat_";
  for (char c : path) name += c == ' ' || c == '-' ? '_' : c;
  return name;
}

}  // namespace

std::string ZshCompletion(const CommandReference& program) {
  const auto commands = AllCommands(program);
  std::ostringstream out;
  out << "#compdef " << program.name << "\n"
      << "# zsh completion for " << program.name << ". Written by `" << program.name
      << " --generate completion-zsh` from its own\n# command line: do not edit.\n\n";
  out << "_clipcat_global_options=(\n";
  ZshOptionSpecs(out, program, "  ");
  out << ")\n\n";
  for (const auto& [path, command] : commands) {
    out << ZshFunction(path) << "() {\n  _arguments -s \"${_clipcat_global_options[@]}\" \\\n";
    ZshOptionSpecs(out, *command, "    ");
    if (!command->commands.empty()) {
      out << "    '1: :->command' \\\n    '*:: :->argument' \\\n";
    } else if (TakesFileArgument(*command)) {
      out << "    '*:file:_files' \\\n";
    } else if (!command->arguments.empty()) {
      out << "    '*: :' \\\n";
    }
    out << "    && return\n";
    if (!command->commands.empty()) {
      out << "  case $state in\n    command)\n      local -a commands=(\n";
      for (const CommandReference& sub : command->commands) {
        out << "        " << ShellQuoted(sub.name + ":" + sub.description) << "\n";
      }
      out << "      )\n      _describe -t commands 'command' commands ;;\n    argument)\n"
          << "      case $words[1] in\n";
      for (const CommandReference& sub : command->commands) {
        out << "        " << sub.name << ") " << ZshFunction(path + " " + sub.name) << " ;;\n";
      }
      out << "      esac ;;\n  esac\n";
    }
    out << "}\n\n";
  }
  out << "_" << program.name << "() {\n"
      << "  local curcontext=\"$curcontext\" state line\n"
      << "  _arguments -C -s \"${_clipcat_global_options[@]}\" '1: :->command' "
         "'*:: :->argument' && return\n"
      << "  case $state in\n"
      << "    command)\n"
      << "      local -a commands=(\n"
      << "        'help:Print the command list, or one command'\\''s help'\n";
  for (const CommandReference& command : program.commands) {
    out << "        " << ShellQuoted(command.name + ":" + command.description) << "\n";
  }
  out << "      )\n"
      << "      _describe -t commands 'clipcat command' commands ;;\n"
      << "    argument)\n"
      << "      case $words[1] in\n"
      << "        call) _default ;;\n";
  for (const CommandReference& command : program.commands) {
    if (command.name == "call") continue;
    out << "        " << command.name << ") " << ZshFunction(command.name) << " ;;\n";
  }
  out << "      esac ;;\n"
      << "  esac\n"
      << "}\n\n"
      << "_" << program.name << " \"$@\"\n";
  return out.str();
}

namespace {

// `text` in fish's single quotes.
std::string FishQuoted(const std::string& text) {
  std::string out = "'";
  for (char c : text) {
    if (c == '\\' || c == '\'') out += '\\';
    out += c == '\n' ? ' ' : c;
  }
  return out + "'";
}

void FishOptions(std::ostream& out, const std::string& program, const std::string& condition,
                 const CommandReference& command) {
  for (const OptionReference& option : command.options) {
    out << "complete -c " << program;
    if (!condition.empty()) out << " -n " << FishQuoted(condition);
    for (const std::string& name : option.names) {
      out << (name.rfind("--", 0) == 0 ? " -l " + name.substr(2) : " -s " + name.substr(1));
    }
    if (option.takes_value) out << (option.file ? " -r -F" : " -x");
    out << " -d " << FishQuoted(option.description) << "\n";
  }
}

}  // namespace

std::string FishCompletion(const CommandReference& program) {
  const std::string& name = program.name;
  std::ostringstream out;
  out << "# fish completion for " << name << ". Written by `" << name
      << " --generate completion-fish` from its own\n# command line: do not edit.\n"
      << "complete -c " << name << " -f\n";
  FishOptions(out, name, "", program);
  out << "complete -c " << name << " -n '__fish_use_subcommand' -a help -d "
      << FishQuoted("Print the command list, or one command's help") << "\n";
  for (const CommandReference& command : program.commands) {
    out << "complete -c " << name << " -n '__fish_use_subcommand' -a " << command.name << " -d "
        << FishQuoted(command.description) << "\n";
    const std::string seen = "__fish_seen_subcommand_from " + command.name;
    std::string own = seen;
    if (!command.commands.empty()) {
      std::vector<std::string> subs;
      for (const CommandReference& sub : command.commands) subs.push_back(sub.name);
      own += "; and not __fish_seen_subcommand_from " + Join(subs, " ");
      for (const CommandReference& sub : command.commands) {
        out << "complete -c " << name << " -n " << FishQuoted(own) << " -a " << sub.name << " -d "
            << FishQuoted(sub.description) << "\n";
        FishOptions(out, name, seen + "; and __fish_seen_subcommand_from " + sub.name, sub);
      }
    }
    FishOptions(out, name, own, command);
    if (TakesFileArgument(command)) {
      out << "complete -c " << name << " -n " << FishQuoted(seen) << " -F\n";
    }
  }
  return out.str();
}

}  // namespace clipcat::cli
