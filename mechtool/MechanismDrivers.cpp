#include "mechtool/MechanismDrivers.h"

#include "mechtool/MechanismFile.h"
#include "mechtool/Text.h"
#include "pos/walk.h"

#include <QFileInfo>

namespace
{

const QString FILE_OPTION = QStringLiteral("m");
const QString FOLDER_OPTION = QStringLiteral("M");

QStringList namesOfDrivers(const mechanism::mechanism_t& loaded)
{
    QStringList names;
    for (const QString& name : loaded.driver_names) {
        names << name;
    }
    return names;
}

} // namespace

MechanismDrivers::MechanismDrivers(const Options& options)
{
    if (!options.has(FILE_OPTION) && !options.has(FOLDER_OPTION)) {
        return;
    }
    const QStringList files = chosenMechanismFiles(options);
    loadResources(options);
    folder = options.value(FOLDER_OPTION);
    if (options.has(FILE_OPTION)) {
        const mechanism::mechanism_t loaded = loadMechanism(files.constFirst());
        singleName = QString::fromStdString(loaded.name);
        drivers.insert(singleName, namesOfDrivers(loaded));
    }
}

const std::optional<QStringList>& MechanismDrivers::driversOf(const QString& mechanism)
{
    auto place = drivers.find(mechanism);
    if (place == drivers.end()) {
        std::optional<QStringList> names;
        if (!folder.isEmpty() && whyWithout(mechanism).isNull()) {
            names = namesOfDrivers(loadMechanism(fileOf(mechanism)));
        }
        place = drivers.insert(mechanism, names);
    }
    return *place;
}

QString MechanismDrivers::whyWithout(const QString& mechanism) const
{
    if (folder.isEmpty()) {
        return {};
    }
    if (mechanism.contains(QLatin1Char('/'))) {
        return QStringLiteral("its name leads out of the folder of mechanisms");
    }
    return QFileInfo::exists(fileOf(mechanism))
               ? QString()
               : QStringLiteral("there is no file %1").arg(shown(fileOf(mechanism)));
}

QString MechanismDrivers::fileOf(const QString& mechanism) const
{
    return folder + QLatin1Char('/') + mechanism + QStringLiteral(".xml");
}

QStringList faultsOfDrivers(const QDomElement& record, const QStringList& drivers)
{
    QStringList recorded;
    for (const QDomElement& driver : pos::driversOf(record)) {
        recorded << pos::nameOf(driver);
    }
    if (recorded == drivers) {
        return {};
    }
    const QString place = QStringLiteral("mechanism \"%1\": ").arg(shown(pos::nameOf(record)));
    QStringList texts;
    for (const QString& name : drivers) {
        if (!recorded.contains(name)) {
            texts << place + QStringLiteral("driver \"%1\" is not recorded").arg(shown(name));
        }
    }
    for (const QString& name : recorded) {
        if (!drivers.contains(name)) {
            texts << place + QStringLiteral("driver \"%1\" is recorded, and not in the file of "
                                            "the mechanism")
                                 .arg(shown(name));
        }
    }
    if (texts.isEmpty()) {
        texts << place + QStringLiteral("its drivers are recorded in another order or number than "
                                        "in its file");
    }
    return texts;
}
