// The clipcat command as a function: what main() runs, callable in-process by tests. Parses
// `argv`, runs the command, writes its output to standard output and its error to standard error
// (std::cout and std::cerr), and answers the exit status: 0 done, 1 failed, 64 the command line
// is wrong.
#pragma once

namespace clipcat::cli {

int RunCommandLine(int argc, char** argv);

}  // namespace clipcat::cli
