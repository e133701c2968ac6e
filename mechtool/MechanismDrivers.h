#pragma once

// The mechanism files with which the records of a POS file are compared.

#include "mechtool/Command.h"

#include <QDomElement>
#include <QHash>
#include <QString>
#include <QStringList>

#include <optional>

/// The file of -m, or the files NAME.xml in the folder of -M as far as they are asked for; none
/// without these options.
class MechanismDrivers
{
public:
    /// Loads the resources of -r and the file of -m. Throws CannotAnswer like loadMechanism.
    explicit MechanismDrivers(const Options& options);

    /// The drivers of the mechanism of this name, in the order of its file; nothing when there is
    /// no file to compare with. Throws CannotAnswer when the file does not load.
    const std::optional<QStringList>& driversOf(const QString& mechanism);

    /// What keeps the folder of -M from having a file of this mechanism; a null text when it has
    /// one, or without -M.
    QString whyWithout(const QString& mechanism) const;

    /// The mechanism of -m; a null text without it.
    const QString& single() const
    {
        return singleName;
    }

private:
    QString fileOf(const QString& mechanism) const;

    QString folder;     ///< of -M
    QString singleName; ///< of -m
    QHash<QString, std::optional<QStringList>> drivers;
};

/// Where the drivers recorded for a mechanism differ from the drivers of its file, a text each.
QStringList faultsOfDrivers(const QDomElement& record, const QStringList& drivers);
