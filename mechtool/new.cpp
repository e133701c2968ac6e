// mechtool new: a fresh POS file from a list of obligations.

#include "base/Descriptor.h"
#include "mechtool/Text.h"
#include "mechtool/commands.h"
#include "pos/pos.h"

#include <QFile>
#include <QRegularExpression>
#include <QXmlStreamWriter>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

constexpr qint64 MAX_GOALS = 10000000;

struct entry_t {
    QString tag;
    int goals = 0;
};

/// The obligation in one line of the list.
entry_t entryOfLine(const QString& line, const QString& place)
{
    const int blank = line.lastIndexOf(QRegularExpression(QStringLiteral("\\s")));
    bool isNumber = false;
    const int goals = line.mid(blank + 1).toInt(&isNumber);
    if (blank < 0 || !isNumber || goals < 0) {
        throw CannotAnswer(QStringLiteral("%1: \"%2\" does not end with a number of goals: write "
                                          "TAG NUMBER")
                               .arg(place, shown(line)));
    }
    const QString tag = line.left(blank).trimmed();
    for (const QChar c : tag) {
        if (c.unicode() < ' ' || c.unicode() >= 0xfffe) {
            throw CannotAnswer(QStringLiteral("%1: the tag \"%2\" holds a character that XML does "
                                              "not allow: leave it out")
                                   .arg(place, shown(tag)));
        }
    }
    return {tag, goals};
}

std::vector<entry_t> readList(const QString& name)
{
    QFile file(name);
    const bool isOpen = name == QLatin1String("-") ? file.open(stdin, QIODevice::ReadOnly)
                                                   : file.open(QIODevice::ReadOnly);
    if (!isOpen) {
        throw CannotAnswer(shown(name) + QStringLiteral(": ") + file.errorString() +
                           QStringLiteral(": name a file of lines TAG NUMBER"));
    }
    std::vector<entry_t> entries;
    qint64 total = 0;
    for (int number = 1;; ++number) {
        const QByteArray bytes = file.readLine();
        if (bytes.isEmpty()) {
            break;
        }
        QString line = QString::fromUtf8(bytes).trimmed();
        line.remove(0, number == 1 && line.startsWith(QChar(QChar::ByteOrderMark)) ? 1 : 0);
        const QString place = QStringLiteral("%1:%2").arg(shown(name), QString::number(number));
        if (!line.isEmpty() && !line.startsWith(QLatin1Char('!'))) {
            entries.push_back(entryOfLine(line, place));
            total += entries.back().goals;
        }
        if (total > MAX_GOALS) {
            throw CannotAnswer(place + QStringLiteral(": more than %1 goals in all: divide the "
                                                      "component")
                                           .arg(MAX_GOALS));
        }
    }
    if (file.error() != QFile::NoError) {
        throw CannotAnswer(shown(name) + QStringLiteral(": ") + file.errorString() +
                           QStringLiteral(": check the file"));
    }
    return entries;
}

QByteArray textOf(const std::vector<entry_t>& entries)
{
    QByteArray text;
    QXmlStreamWriter writer(&text);
    writer.setAutoFormatting(true);
    writer.setAutoFormattingIndent(pos::XML_INDENT);
    writer.writeStartDocument();
    writer.writeStartElement(pos::TAG_PROOF_OBLIGATIONS);
    for (const entry_t& entry : entries) {
        writer.writeStartElement(pos::TAG_PROOF_OBLIGATION);
        writer.writeTextElement(pos::TAG_TAG, entry.tag);
        for (int i = 0; i < entry.goals; ++i) {
            writer.writeStartElement(pos::TAG_SIMPLE_GOAL);
            writer.writeAttribute(pos::ATTR_STATUS, pos::ATTR_VALUE_UNPROVED);
            writer.writeEmptyElement(pos::TAG_PROOF_STATE);
            writer.writeAttribute(pos::ATTR_PROOF_STATE, pos::ATTR_VALUE_UNPROVED);
            writer.writeEndElement();
        }
        writer.writeEndElement();
    }
    writer.writeEndDocument();
    return text;
}

/// Makes the file, whole or not at all; a file that is there is left alone. The reason otherwise.
int makeFile(const QByteArray& path, const QByteArray& text)
{
    const QByteArray partial = path + ".new-" + QByteArray::number(::getpid());
    const Descriptor file(
        ::open(partial.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
    if (!file.isOpen()) {
        return errno;
    }
    int error = 0;
    for (int done = 0; error == 0 && done < text.size();) {
        const ssize_t count = ::write(file.number(), text.constData() + done,
                                      static_cast<std::size_t>(text.size() - done));
        done += count > 0 ? static_cast<int>(count) : 0;
        error = count > 0 || errno == EINTR ? 0 : errno;
    }
    if (error == 0 && ::fsync(file.number()) != 0) {
        error = errno;
    }
    // Unlike a rename, a link never takes the place of another file.
    if (error == 0 && ::link(partial.constData(), path.constData()) != 0) {
        error = errno;
    }
    ::unlink(partial.constData());
    return error;
}

} // namespace

answer_t runNew(const QStringList& words)
{
    Options options(QStringLiteral(
        "Makes a fresh POS file, for who has no workbench. LIST is a file of lines\n"
        "TAG NUMBER-OF-GOALS, an obligation each, in the order of the proof obligations;\n"
        "\"-\" is standard input. Empty lines and lines that begin with \"!\" do not count.\n"
        "A POS file that is there is never overwritten."));
    options.parser.addPositionalArgument(QStringLiteral("POS"), QStringLiteral("the file to make"));
    options.parser.addPositionalArgument(QStringLiteral("LIST"), QStringLiteral("the obligations"));
    if (!options.read(words)) {
        return answer_t::yes;
    }
    const QStringList names = options.arguments(2, 2);
    const std::vector<entry_t> entries = readList(names.at(1));
    const int error = makeFile(names.at(0).toUtf8(), textOf(entries));
    if (error != 0) {
        throw CannotAnswer(
            shown(names.at(0)) + QStringLiteral(": ") + QString::fromUtf8(std::strerror(error)) +
            (error == EEXIST ? QStringLiteral(": remove it first, or choose another name")
                             : QStringLiteral(": choose a folder that can be written")));
    }
    std::size_t goals = 0;
    for (const entry_t& entry : entries) {
        goals += static_cast<std::size_t>(entry.goals);
    }
    print(QStringLiteral("%1: %2 in %3\n")
              .arg(shown(names.at(0)), counted(goals, QStringLiteral("goal")),
                   counted(entries.size(), QStringLiteral("obligation"))));
    return answer_t::yes;
}
