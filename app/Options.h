#pragma once

// The command line of the program.

#include <string>

struct Options {
    std::string mechanismFile;      ///< -m
    std::string mechanismDirectory; ///< -M
    std::string directory;          ///< -d
    std::string posPath;            ///< -s
    std::string pogPath;            ///< -p
    int concurrency = 1;            ///< -c
    int trace = 0;                  ///< -t
    bool xml = false;               ///< -x
};

/// Reads the options, loading each resource file as it is met, echoes the command line when tracing
/// and checks that what is needed is there. Prints the help text and ends the process with status 1
/// when it is not.
Options readOptions(int argc, char** argv);

/// Prints the help text on standard output and ends the process with status 1.
[[noreturn]] void print_help();
