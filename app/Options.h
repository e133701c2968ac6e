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

/// Reads the options, loads each resource file as its option comes, logs the command line when
/// tracing, and checks that the needed options are there. When they are not, it prints the help
/// text and ends the process with status 1.
Options readOptions(int argc, char** argv);

/// Prints the help text on standard output and ends the process with status 1.
[[noreturn]] void print_help();
