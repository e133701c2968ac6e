// The program: options, one director per mechanism, and the frame of the report.

#include "app/Options.h"
#include "app/Termination.h"
#include "app/Utils.h"
#include "base/LogLine.h"
#include "base/Process.h"
#include "director/ProofDirector.h"
#include "pos/pos.h"
#include "pos/printmetrics.h"
#include "resource/p_api.h"

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <list>
#include <new>

namespace
{

/// Plays one mechanism; false when its file could not be read.
bool playMechanism(const Options& options, const std::string& component,
                   const std::string& mechanismFile)
{
    ProofDirector& made = setDirector(std::make_unique<ProofDirector>(
        component, mechanismFile, options.posPath, options.pogPath, options.directory, options.xml,
        static_cast<unsigned int>(options.concurrency), options.trace, "", "", false));
    if (!made.isLoaded()) {
        return false;
    }
    std::cout << (options.xml ? "<proving>" : "") << "Proving " << component
              << " with external mechanism " << made.getMechanismName()
              << (options.xml ? "</proving>" : "") << std::endl;
    made.replay();
    deleteDirector();
    return true;
}

/// Plays every mechanism that the POS file records; false when the file of one could not be read.
bool playRecorded(const Options& options, const std::string& component)
{
    std::list<std::string> names;
    if (!pos::getMechanisms(options.posPath, names)) {
        std::cout << (options.xml ? "<error>" : "Error") << "File not readable " << options.posPath
                  << (options.xml ? "</error>" : "") << std::endl;
    }
    for (const std::string& name : names) {
        std::string file = options.mechanismDirectory;
        file.append(FILE_SEPARATOR).append(name).append(".xml");
        if (name.find(FILE_SEPARATOR) != std::string::npos) {
            // A POS file from a stranger must not choose programs outside of the directory.
            writeLog("Cannot open '" + file + "'.\n");
            return false;
        }
        if (!playMechanism(options, component, file)) {
            return false;
        }
    }
    return true;
}

/// The run after the set-up; the exit status.
int run(int argc, char** argv)
{
    const Options options = readOptions(argc, argv);
    const std::string component = baseNameOfPath(options.posPath);
    if (options.xml) {
        std::cout << "<proof>\n" << std::flush;
    }
    const bool played = options.mechanismFile.empty()
                            ? playRecorded(options, component)
                            : playMechanism(options, component, options.mechanismFile);
    if (!played) {
        return EXIT_FAILURE;
    }
    print_metrics(options.posPath, options.xml, component);
    return EXIT_SUCCESS;
}

} // namespace

int main(int argc, char** argv)
{
    prepareProcess();
    installTermination();
    init_resource_manager();
    try {
        return statusAtEnd(run(argc, argv));
    } catch (const std::bad_alloc&) {
        std::fputs("mechrun: out of memory\n", stderr);
        return statusAtEnd(EXIT_FAILURE);
    }
}
