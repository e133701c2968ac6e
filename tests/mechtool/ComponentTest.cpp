// Names of goals, and the view of a component.

#include "mechtool/Component.h"
#include "mechtool/Command.h"
#include "mechtool/Text.h"
#include "tests/support/Support.h"

#include <gtest/gtest.h>

namespace
{

component_t componentOf(const std::vector<QString>& tags)
{
    QDomDocument document;
    QDomElement root = document.createElement(QStringLiteral("Proof_Obligations"));
    document.appendChild(root);
    for (const QString& tag : tags) {
        QDomElement obligation = document.createElement(pos::TAG_PROOF_OBLIGATION);
        QDomElement name = document.createElement(pos::TAG_TAG);
        name.appendChild(document.createTextNode(tag));
        obligation.appendChild(name);
        obligation.appendChild(document.createElement(pos::TAG_SIMPLE_GOAL));
        obligation.appendChild(document.createElement(pos::TAG_SIMPLE_GOAL));
        root.appendChild(obligation);
    }
    return viewOf(document, QStringLiteral("c.pos"));
}

TEST(Component, AGoalIsFoundByEveryNameUnderWhichItIsShown)
{
    const QString escape = QStringLiteral("a\x1b[2J");
    const component_t component = componentOf(
        {QStringLiteral("a"), QStringLiteral("a"), QStringLiteral("a.b"), QStringLiteral("x#2"),
         QStringLiteral("x"), QStringLiteral("x"), escape, shown(escape)});
    const struct {
        const char* name;
        std::optional<address_t> goal;
    } rows[] = {
        {"a.1", address_t(0, 0)},
        {"a.2", address_t(0, 1)},
        {"a#2.1", address_t(1, 0)},
        {"a.b.2", address_t(2, 1)},
        {"x#2.1", address_t(3, 0)},
        {"x.1", address_t(4, 0)},
        {"x#3.1", address_t(5, 0)},
        {"a\\x1b[2J.1", address_t(6, 0)},
        {"a\x1b[2J.1", address_t(6, 0)},
        {"a.0", {}},
        {"a.3", {}},
        {"a#1.1", {}},
        {"a", {}},
        {"a.-1", {}},
        {"", {}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(goalOfName(component, QString::fromUtf8(row.name)), row.goal);
    }
    for (std::size_t i = 0; i < component.obligations.size(); ++i) {
        EXPECT_EQ(goalOfName(component, goalName(component, {i, 1})), address_t(i, 1));
    }
}

TEST(Component, TheNearestGoalIsTheOneWithTheFewestChanges)
{
    const struct {
        std::string tags;
        const char* name;
        const char* nearest; ///< nothing when all are far longer than what was asked for
    } rows[] = {
        {"a a.b x", "A.c.2", "a.b.2"},                                // a capital is no change
        {"a x", "X.2", "x.2"},           {"abc xy", "ab.1", "abc.1"}, // a letter was left out
        {"ab zzac", "zzab.1", "zzac.1"}, // two letters too many, or another letter
        {std::string(50, 'x'), "", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const QStringList tags = QString::fromStdString(row.tags).split(QLatin1Char(' '));
        EXPECT_EQ(
            nearestGoals(componentOf({tags.begin(), tags.end()}), QString::fromLatin1(row.name), 1)
                .join(QLatin1Char(' ')),
            QString::fromLatin1(row.nearest));
    }
}

TEST(Component, WhatWouldMoveTheCursorIsShownAsAnEscape)
{
    const struct {
        const char* name;
        const char* shown;
    } rows[] = {
        {"put_ring", "put_ring"},
        {"\xc3\xa9 \xf0\x9d\x94\xb8", "\xc3\xa9 \xf0\x9d\x94\xb8"},
        {"a\\n", "a\\\\n"},
        {"a\n\t\r", "a\\n\\t\\r"},
        {"\x1b]0;x\x07\x7f", "\\x1b]0;x\\x07\\x7f"},
        {"\xc2\x9b", "\\x9b"},
        {"\xe2\x80\xae"
         "abc",
         "\\u202eabc"},
        {"\xf3\xa0\x80\x81", "\\U000e0001"},
        {"\xe2\x80\xa8", "\\u2028"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(shown(QString::fromUtf8(row.name)), QString::fromUtf8(row.shown));
    }
    EXPECT_EQ(shown(QString(QChar(0xd800))), QStringLiteral("\\ud800"));
    for (const QChar special : QStringLiteral(" \\;&|<>()$`\"*?[]{}!#~^")) {
        EXPECT_EQ(quotedForShell(special), QStringLiteral("'%1'").arg(special));
    }
    EXPECT_EQ(quotedForShell(QStringLiteral("\\\n")), QStringLiteral("$'\\134\\012'"));
    const std::pair<double, const char*> times[] = {
        {9.996, "10.0 s"}, {59.96, "1 min 00 s"}, {3599.6, "1 h 00 min"}};
    for (const auto& [seconds, text] : times) {
        EXPECT_EQ(duration(seconds).toStdString(), text);
    }
}

} // namespace
