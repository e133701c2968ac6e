#include "app/Options.h"

#include "base/LogLine.h"
#include "resource/p_api.h"

#include <cstdlib>
#include <getopt.h>
#include <iostream>

namespace
{

const char* const SHORT_OPTIONS = "r:m:M:d:s:p:c:t:xh";

// The long forms of "mechanism", "mechanism-directory", "concurrency" and "trace" take their value
// in the attached form only: deliberate.
const option LONG_OPTIONS[] = {
    {"resources", required_argument, nullptr, 'r'},
    {"mechanism", optional_argument, nullptr, 'm'},
    {"mechanism-directory", optional_argument, nullptr, 'M'},
    {"directory", required_argument, nullptr, 'd'},
    {"pos", required_argument, nullptr, 's'},
    {"pog", required_argument, nullptr, 'p'},
    {"concurrency", optional_argument, nullptr, 'c'},
    {"trace", optional_argument, nullptr, 't'},
    {"xml", no_argument, nullptr, 'x'},
    {"help", no_argument, nullptr, 'h'},
    {nullptr, 0, nullptr, 0},
};

/// The line that tells how the program was called. To be made before the options are read:
/// getopt_long reorders the words.
std::string commandLine(int argc, char** argv)
{
    std::string line = "[mechrun]\ncommand = \"";
    for (int i = 0; i < argc; ++i) {
        line += argv[i];
        line += " ";
    }
    return line + "\"\n";
}

int number(const char* text)
{
    return static_cast<int>(std::strtol(text, nullptr, 10));
}

void apply(Options& options, int option, const char* value)
{
    switch (option) {
    case 'r':
        load_resources(value, nullptr, nullptr);
        break;
    case 'm':
        options.mechanismFile = value;
        break;
    case 'M':
        options.mechanismDirectory = value;
        break;
    case 'd':
        options.directory = value;
        break;
    case 's':
        options.posPath = value;
        break;
    case 'p':
        options.pogPath = value;
        break;
    case 'c':
        options.concurrency = number(value);
        break;
    case 't':
        options.trace = number(value);
        break;
    default:
        print_help();
    }
}

bool isComplete(const Options& options)
{
    return !options.directory.empty() && !options.posPath.empty() && !options.pogPath.empty() &&
           options.mechanismFile.empty() != options.mechanismDirectory.empty() &&
           options.concurrency >= 1;
}

} // namespace

void print_help()
{
    std::cout << "mechrun -r resources (-m mech.xml | -M dir) -s comp.pos -p comp.pog -d bdp/mech "
                 "[-h]\n"
                 "\t-r, --resources=FILE\n"
                 "\t\tResource file\n"
                 "\t-m, --mechanism=FILE\n"
                 "\t\tFile with proof mechanism description\n"
                 "\t-M, --mechanism-directory=DIR\n"
                 "\t\tDirectory with proof mechanism descriptions\n"
                 "\t-s,  --pos=FILE\n"
                 "\t\tFile with proof obligation statuses\n"
                 "\t-p, --pog=FILE\n"
                 "\t\tFile with proof obligations\n"
                 "\t-d,  --directory=DIRECTORY\n"
                 "\t\tDirectory for temporary files\n"
                 "\t-h, --help\n"
                 "\t\tPrints this and exits with error code\n";
    std::exit(EXIT_FAILURE);
}

Options readOptions(int argc, char** argv)
{
    const std::string echo = commandLine(argc, argv);
    Options options;
    opterr = 0; // the help text says it all
    int option = 0;
    while ((option = getopt_long(argc, argv, SHORT_OPTIONS, LONG_OPTIONS, nullptr)) != -1) {
        if (option == 'x') {
            options.xml = true;
        } else if (optarg == nullptr) {
            print_help(); // -h, an unknown option, or a value that is not attached
        } else {
            apply(options, option, optarg);
        }
    }
    if (options.trace != 0) {
        writeLog(echo);
    }
    if (!isComplete(options)) {
        print_help();
    }
    return options;
}
