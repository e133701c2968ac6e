// Qt 5.15 deprecates the SAX classes for its stream reader, which is not what builds the DOM.
#define QT_NO_DEPRECATED_WARNINGS

#include "base/XmlEntities.h"

#include <QHash>
#include <QXmlDefaultHandler>
#include <QXmlSimpleReader>

#include <algorithm>

namespace
{

/// What one use of an entity counts. In an attribute a quote becomes "&quot;".
long long costOf(const QString& text)
{
    constexpr long long markup = 64;
    const auto isMarkup = [](QChar character) {
        return QLatin1String("<&='\"").contains(character);
    };
    return text.size() + markup * std::count_if(text.begin(), text.end(), isMarkup);
}

/// Adds up what the entities of a document expand to. The parser announces each use before it works
/// on the text.
class ExpansionCounter final : public QXmlDefaultHandler
{
public:
    explicit ExpansionCounter(long long most) : left(most) {}

    bool internalEntityDecl(const QString& name, const QString& value) override
    {
        // A parameter entity is declared as "%name" and used as "name". No two have the same name:
        // a further declaration does not get here.
        const bool isParameter = name.startsWith(QLatin1Char('%'));
        costs.insert(isParameter ? name.mid(1) : name, costOf(value));
        tooLarge = costs.size() > MAX_XML_ENTITIES;
        return !tooLarge;
    }
    bool startEntity(const QString& name) override
    {
        left -= costs.value(name);
        tooLarge = left < 0;
        return !tooLarge;
    }
    bool fatalError(const QXmlParseException& exception) override
    {
        tooLarge = tooLarge || exception.message().contains(QLatin1String("too large to process"));
        return false;
    }

    bool isTooLarge() const
    {
        return tooLarge;
    }

private:
    QHash<QString, long long> costs; ///< of one use, by name
    long long left;
    bool tooLarge = false;
};

} // namespace

xml_entities_t measureXmlEntities(const QXmlInputSource& source, long long size)
{
    ExpansionCounter counter(FREE_XML_EXPANSION + MAX_XML_EXPANSION_FACTOR * size);
    QXmlSimpleReader reader;
    reader.setFeature(QStringLiteral("http://xml.org/sax/features/namespaces"), false);
    reader.setFeature(QStringLiteral("http://xml.org/sax/features/namespace-prefixes"), true);
    reader.setFeature(QStringLiteral("http://qt-project.org/xml/features/report-start-end-entity"),
                      true);
    reader.setErrorHandler(&counter);
    reader.setLexicalHandler(&counter);
    reader.setDeclHandler(&counter);
    if (reader.parse(&source)) {
        return xml_entities_t::bounded;
    }
    return counter.isTooLarge() ? xml_entities_t::tooLarge : xml_entities_t::malformed;
}
