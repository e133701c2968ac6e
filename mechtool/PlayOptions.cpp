#include "mechtool/PlayOptions.h"

#include "app/Utils.h"
#include "director/ProofDirector.h"
#include "mechtool/MechanismFile.h"
#include "mechtool/Text.h"

#include <QFile>
#include <QFileInfo>
#include <QSet>

#include <algorithm>
#include <chrono>
#include <iostream>
#include <map>
#include <thread>

#include <unistd.h>

namespace
{

using Option = QCommandLineOption;

QStringList names(const char* one, const char* other = nullptr)
{
    QStringList list{QString::fromUtf8(one)};
    if (other != nullptr) {
        list << QString::fromUtf8(other);
    }
    return list;
}

progress_mode_t progressModeOf(const QString& word)
{
    const std::map<QString, progress_mode_t> modes = {
        {QStringLiteral("auto"), progress_mode_t::automatic},
        {QStringLiteral("always"), progress_mode_t::always},
        {QStringLiteral("never"), progress_mode_t::never},
    };
    const auto found = modes.find(word);
    if (found == modes.end()) {
        throw CannotAnswer(
            QStringLiteral("--progress=%1: write auto, always or never").arg(shown(word)));
    }
    return found->second;
}

/// The base names of mechanism files must differ: the POS file knows them by these.
void checkNames(const QStringList& files)
{
    QSet<QString> known;
    for (const QString& file : files) {
        const QString name = QString::fromStdString(baseNameOfPath(file.toStdString()));
        if (known.contains(name)) {
            throw CannotAnswer(QStringLiteral("two mechanisms of the name \"%1\": rename one file")
                                   .arg(shown(name)));
        }
        known.insert(name);
    }
}

/// Says on standard error which drivers the POS file records for a mechanism that has none such,
/// and which drivers the records of the mechanism do not know.
void warnOfDrivers(const component_t& component, const QString& mechanismFile,
                   const QStringList& drivers, const QString& command)
{
    const QString name = QString::fromStdString(baseNameOfPath(mechanismFile.toStdString()));
    std::map<QString, std::size_t> unknown; // recorded drivers that the mechanism lacks, by name
    std::map<QString, std::size_t> missing; // drivers that a record lacks
    for (const obligation_t& obligation : component.obligations) {
        for (const goal_t& goal : obligation.goals) {
            for (const mechanism_record_t& record : goal.mechanisms) {
                if (record.name != name) {
                    continue;
                }
                QStringList recorded;
                for (const driver_record_t& driver : record.drivers) {
                    recorded << driver.name;
                    unknown[driver.name] += drivers.contains(driver.name) ? 0 : 1;
                }
                for (const QString& driver : drivers) {
                    missing[driver] += recorded.contains(driver) ? 0 : 1;
                }
            }
        }
    }
    const auto warn = [&](const std::map<QString, std::size_t>& found, const QString& what) {
        for (const auto& [driver, count] : found) {
            if (count != 0) {
                std::cerr << QStringLiteral("mechtool %1: %2\n")
                                 .arg(command, what.arg(shown(driver), shown(name),
                                                        counted(count, QStringLiteral("goal"))))
                                 .toStdString();
            }
        }
    };
    warn(unknown, QStringLiteral("the POS file records driver %1 of mechanism %2 on %3, but the "
                                 "mechanism file has no such driver: it is not run"));
    warn(missing,
         QStringLiteral("driver %1 is new in mechanism %2: it is not run on %3 whose records "
                        "do not know it (\"mechtool forget\" removes the records)"));
}

} // namespace

void addPlayOptions(Options& options)
{
    addMechanismOptions(options);
    const auto add = [&options](const QStringList& option, const char* text,
                                const char* value = "") {
        options.parser.addOption(Option(option, QString::fromUtf8(text), QString::fromUtf8(value)));
    };
    add(names("s", "pos"), "The POS file.", "FILE");
    add(names("p", "pog"), "The proof obligations, for the writers.", "FILE");
    add(names("d", "directory"), "The folder for secondary files (default: a temporary one).",
        "DIR");
    add(names("j", "jobs"), "How many jobs run at once (default: one a processor).", "N");
    add(names("driver"), "Only the driver of this name.", "NAME");
    add(names("fast"), "Only the drivers that are marked fast.");
    add(names("time-limit"), "Kill the tools of a job after so many seconds; its goals stay open.",
        "S");
    add(names("memory-limit"),
        "The address space of each prover, in mebibytes; a job that fails under it is lost.",
        "MIB");
    add(names("journal"), "Append a line of JSON a job to this file.", "FILE");
    add(names("keep-failed"), "Keep what is needed to run a failed job by hand.", "DIR");
    add(names("progress"), "Show progress: auto, always or never.", "WHEN");
    add(names("quiet"), "Neither progress nor lines about failed jobs.");
}

play_options_t playOptionsOf(const Options& options, const QString& command)
{
    play_options_t made;
    made.mechanisms = options.parser.values(QStringLiteral("mechanism"));
    made.mechanismDirectory = options.value(QStringLiteral("mechanism-directory"));
    if (made.mechanisms.isEmpty() == made.mechanismDirectory.isEmpty()) {
        throw CannotAnswer(QStringLiteral("give either -m FILE or -M DIR"));
    }
    made.pos = options.required(QStringLiteral("pos"));
    made.pog = options.required(QStringLiteral("pog"));
    made.directory = options.value(QStringLiteral("directory"));
    made.driver = options.value(QStringLiteral("driver"));
    made.fast = options.has(QStringLiteral("fast"));
    const unsigned int processors = std::max(1U, std::thread::hardware_concurrency());
    made.jobs = options.number(QStringLiteral("jobs"), 1, static_cast<int>(processors));
    made.timeLimit = options.number(QStringLiteral("time-limit"), 1, 0);
    made.memoryLimit = options.number(QStringLiteral("memory-limit"), 1, 0);
    made.watch.command = command;
    made.watch.quiet = options.has(QStringLiteral("quiet"));
    made.watch.journal = options.value(QStringLiteral("journal"));
    made.watch.keepFailed = options.value(QStringLiteral("keep-failed"));
    if (options.has(QStringLiteral("progress"))) {
        made.watch.progress = progressModeOf(options.value(QStringLiteral("progress")));
    }
    return made;
}

void checkFiles(const play_options_t& options, bool changes)
{
    QFile pog(options.pog);
    if (QFileInfo(options.pog).isDir() || !pog.open(QIODevice::ReadOnly)) {
        throw CannotAnswer(
            QStringLiteral(
                "%1: the proof obligations cannot be read: %2: give the right file with -p")
                .arg(shown(options.pog), QFileInfo(options.pog).isDir()
                                             ? QStringLiteral("it is a folder")
                                             : pog.errorString()));
    }
    if (changes && ::access(options.pos.toUtf8().constData(), F_OK) == 0 &&
        ::access(options.pos.toUtf8().constData(), W_OK) != 0) {
        throw CannotAnswer(QStringLiteral("%1: this file cannot be written: make it writable")
                               .arg(shown(options.pos)));
    }
    if (!options.directory.isEmpty()) {
        const QFileInfo folder(options.directory);
        if (!folder.isDir()) {
            throw CannotAnswer(QStringLiteral("%1: this is no folder: make it, or leave -d out")
                                   .arg(shown(options.directory)));
        }
        if (::access(options.directory.toUtf8().constData(), W_OK | X_OK) != 0) {
            throw CannotAnswer(
                QStringLiteral("%1: this folder cannot be written: choose another, or leave -d out")
                    .arg(shown(options.directory)));
        }
    }
}

void checkMechanisms(const play_options_t& options, const component_t& component)
{
    checkNames(options.mechanisms);
    bool hasDriver = options.driver.isEmpty();
    for (const QString& file : options.mechanisms) {
        QStringList drivers;
        for (const mechanism::driver_t& driver : loadMechanism(file).drivers) {
            drivers << driver.name;
        }
        hasDriver = hasDriver || drivers.contains(options.driver);
        if (!options.watch.quiet) {
            warnOfDrivers(component, file, drivers, options.watch.command);
        }
    }
    if (!hasDriver) {
        throw CannotAnswer(QStringLiteral("no mechanism has a driver \"%1\": correct --driver")
                               .arg(shown(options.driver)));
    }
}

void requireLoaded(const ProofDirector& director, const QString& mechanismFile)
{
    if (!director.isLoaded()) {
        throw CannotAnswer(
            QStringLiteral("%1: it cannot be read any more, or a tool of it is gone: "
                           "put it back, and run the same command again")
                .arg(shown(mechanismFile)));
    }
}

ProofDirectorSettings settingsFor(const play_options_t& options, const QString& mechanismFile,
                                  const QString& pos, const QString& folder,
                                  ProofDirectorObserver& observer)
{
    ProofDirectorSettings settings;
    settings.component = baseNameOfPath(options.pos.toStdString());
    settings.mechanismFile = mechanismFile.toStdString();
    settings.posPath = pos.toStdString();
    settings.pogPath = options.pog.toStdString();
    settings.directory = (options.directory.isEmpty() ? folder : options.directory).toStdString();
    settings.workers = static_cast<unsigned int>(options.jobs);
    settings.onlyDriver = options.driver.toStdString();
    settings.onlyFast = options.fast;
    settings.report = nullptr;
    settings.timeLimit = std::chrono::seconds(options.timeLimit);
    settings.memoryLimit = static_cast<std::uint64_t>(options.memoryLimit) << 20U;
    settings.observer = &observer;
    settings.keepErrorOutput = !options.watch.keepFailed.isEmpty();
    return settings;
}
