#include "mechtool/Selection.h"

#include "mechtool/Component.h"
#include "mechtool/Text.h"

#include <algorithm>

namespace
{

const QString STATUS = QStringLiteral("status");
const QString OBLIGATION = QStringLiteral("obligation");

/// Qt's "*" and "?" stop at "/", as they should in paths; names of obligations are none.
QString withoutSlashes(QString text)
{
    constexpr ushort noCharacter = 0xffff; // which no XML document has
    return text.replace(QLatin1Char('/'), QChar(noCharacter));
}

QString commaSeparated(const QStringList& words)
{
    return words.join(QStringLiteral(", "));
}

} // namespace

Glob::Glob(const QString& pattern)
    : text(pattern),
      expression(QRegularExpression::wildcardToRegularExpression(withoutSlashes(pattern)))
{
}

bool Glob::fits(const QString& obligation) const
{
    const QString asShown = shown(obligation);
    if (text == obligation || text == asShown) {
        return true;
    }
    // A bracket that is not closed makes no pattern: then only the name itself fits.
    return expression.isValid() && (expression.match(withoutSlashes(obligation)).hasMatch() ||
                                    expression.match(withoutSlashes(asShown)).hasMatch());
}

bool selection_t::takes(pos::status_t status) const
{
    return statuses.empty() || statuses.count(status) != 0;
}

bool selection_t::takesObligation(const QString& name) const
{
    return obligations.empty() ||
           std::any_of(obligations.begin(), obligations.end(), [&name](const Glob& glob) {
               return glob.fits(name);
           });
}

bool selection_t::takesEverything() const
{
    return statuses.empty() && obligations.empty();
}

QStringList statusWords()
{
    QStringList words;
    for (const pos::status_t status : STATUSES) {
        words << pos::strOfProofStatus(status);
    }
    return words;
}

void addSelection(Options& options, const QString& bearers)
{
    options.parser.addOption(
        {STATUS,
         QStringLiteral("Only %1 of this status: %2. May be given several times.")
             .arg(bearers, commaSeparated(statusWords())),
         QStringLiteral("WORD")});
    options.parser.addOption(
        {OBLIGATION,
         QStringLiteral("Only goals of the obligations whose name fits this pattern of a shell: "
                        "\"put_*\". May be given several times."),
         QStringLiteral("GLOB")});
}

selection_t selectionOf(const Options& options)
{
    selection_t selection;
    for (const QString& word : options.parser.values(STATUS)) {
        if (!statusWords().contains(word)) {
            throw CannotAnswer(QStringLiteral("--status=%1 is no status: give one of %2")
                                   .arg(shown(word), commaSeparated(statusWords())));
        }
        selection.statuses.insert(pos::proofStatusOfAttrValue(word));
    }
    for (const QString& pattern : options.parser.values(OBLIGATION)) {
        selection.obligations.emplace_back(pattern);
    }
    return selection;
}

void requireSelected(const selection_t& selection, const QStringList& names, std::size_t taken)
{
    for (const Glob& glob : selection.obligations) {
        if (std::none_of(names.begin(), names.end(), [&glob](const QString& name) {
                return glob.fits(name);
            })) {
            throw CannotAnswer(QStringLiteral("--obligation=%1 fits no obligation: \"mechtool "
                                              "show\" lists all of them")
                                   .arg(shown(glob.text)));
        }
    }
    if (taken == 0 && !selection.takesEverything()) {
        throw CannotAnswer(QStringLiteral("no goal is selected: \"mechtool show\" counts the goals "
                                          "by obligation and status"));
    }
}
