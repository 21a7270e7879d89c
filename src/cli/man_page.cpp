#include "cli/man_page.h"

#include <sstream>

namespace clipcat::cli {
namespace {

// Text for roff: a backslash printed as \e, a hyphen as \- (so that it copies as one), and a line
// that would start with a control character guarded by \&.
std::string Roff(const std::string& text) {
  std::string out;
  bool line_start = true;
  for (char c : text) {
    if (line_start && (c == '.' || c == '\'')) out += "\\&";
    line_start = c == '\n';
    if (c == '\\') {
      out += "\\e";
    } else if (c == '-') {
      out += "\\-";
    } else {
      out += c;
    }
  }
  return out;
}

void Entries(std::ostream& out, const std::vector<OptionReference>& entries, bool arguments) {
  for (const OptionReference& entry : entries) {
    out << ".TP\n";
    std::string names;
    for (const std::string& name : entry.names) {
      names += (names.empty() ? "" : ", ") + std::string("\\fB") + Roff(name) + "\\fR";
    }
    if (arguments) names = "\\fI" + Roff(entry.names.front()) + "\\fR";
    if (!arguments && entry.takes_value) names += " \\fIVALUE\\fR";
    out << names << "\n" << Roff(entry.description) << "\n";
  }
}

void Command(std::ostream& out, const CommandReference& command, const std::string& title) {
  out << ".SS " << Roff(title) << "\n"
      << Roff(command.description) << "\n"
      << ".PP\n"
      << ".B " << Roff(command.usage) << "\n";
  Entries(out, command.arguments, true);
  Entries(out, command.options, false);
  for (const CommandReference& sub : command.commands) {
    Command(out, sub, title + " " + sub.name);
  }
}

}  // namespace

std::string ManPage(const CommandReference& program, const std::string& version) {
  std::ostringstream out;
  std::string upper;
  for (char c : program.name) upper += static_cast<char>(c >= 'a' && c <= 'z' ? c - 32 : c);
  // The description reads "clipcat - what it is": its part after the name is the page's NAME.
  std::string what = program.description;
  const size_t dash = what.find(" - ");
  if (dash != std::string::npos) what = what.substr(dash + 3);
  out << ".\\\" Written by `" << program.name
      << " --generate man` from its own command line: do not edit.\n"
      << ".TH " << upper << " 1 \"\" \"" << Roff(program.name + " " + version)
      << "\" \"User Commands\"\n"
      // Option names broken at a hyphen could not be copied from the page.
      << ".nh\n"
      << ".SH NAME\n"
      << Roff(program.name) << " \\- " << Roff(what) << "\n"
      << ".SH SYNOPSIS\n"
      << ".B " << Roff(program.name) << "\n"
      << "[\\fIOPTIONS\\fR] \\fICOMMAND\\fR [\\fIARGUMENTS\\fR]\n"
      << ".br\n"
      << ".B " << Roff(program.name) << " help\n"
      << "[\\fICOMMAND\\fR]\n"
      << ".SH DESCRIPTION\n"
      << Roff(program.description) << ".\n"
      << "The options below may also follow the command.\n"
      << ".SH OPTIONS\n";
  Entries(out, program.options, false);
  out << ".SH COMMANDS\n";
  for (const CommandReference& command : program.commands) Command(out, command, command.name);
  out << ".SH \"EXIT STATUS\"\n"
      << ".nf\n"
      << Roff(program.footer) << "\n"
      << ".fi\n";
  return out.str();
}

}  // namespace clipcat::cli
