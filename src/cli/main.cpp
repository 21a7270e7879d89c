// The clipcat command: people's and scripts' way into a clipping catalog.
#include "cli/run_command_line.h"

int main(int argc, char** argv) { return clipcat::cli::RunCommandLine(argc, argv); }
