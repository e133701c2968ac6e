#include "mechtool/report/Page.h"

#include "mechtool/report/Markup.h"
#include "mechtool/report/sections.h"

#include <QCryptographicHash>
#include <QFile>
#include <QHash>

#include <functional>

/// The linker leaves out what nobody names of a static library.
static void loadResource()
{
    Q_INIT_RESOURCE(report);
}

namespace report
{

namespace
{

QByteArray resource(const QString& name)
{
    QFile file(QStringLiteral(":/report/") + name);
    file.open(QIODevice::ReadOnly);
    return file.readAll();
}

QByteArray hashOf(const QByteArray& text)
{
    return QCryptographicHash::hash(text, QCryptographicHash::Sha256).toBase64();
}

/// The template with each "{{name}}" filled. What is filled in is not looked at again.
std::vector<QByteArray> filled(const QByteArray& text,
                               const std::function<QByteArray(const QByteArray&)>& valueOf)
{
    std::vector<QByteArray> pieces;
    int end = 0;
    for (int begin = text.indexOf("{{"); begin >= 0; begin = text.indexOf("{{", end)) {
        pieces.push_back(text.mid(end, begin - end));
        end = text.indexOf("}}", begin) + 2;
        pieces.push_back(valueOf(text.mid(begin + 2, end - begin - 4)));
    }
    pieces.push_back(text.mid(end));
    return pieces;
}

} // namespace

std::vector<QByteArray> page(const content_t& content)
{
    loadResource();
    const QByteArray style = resource(QStringLiteral("report.css"));
    const QByteArray script = resource(QStringLiteral("report.js"));
    const QHash<QByteArray, QByteArray> texts = {
        {"title", marked(content.title).toUtf8()},
        {"style", style},
        {"style-hash", hashOf(style)},
        {"script", script},
        {"script-hash", hashOf(script)},
    };
    const QHash<QByteArray, QString (*)(const content_t&)> sections = {
        {"summary", summary},       {"overview", overview}, {"changes", changes}, {"map", map},
        {"mechanisms", mechanisms}, {"times", timing},      {"goals", goals},
    };
    return filled(resource(QStringLiteral("report.html")), [&](const QByteArray& name) {
        const auto make = sections.value(name, nullptr);
        return make == nullptr ? texts.value(name) : make(content).toUtf8();
    });
}

} // namespace report
