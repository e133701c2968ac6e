#include "director/verdict.h"

using mechanism::trust_t;

std::optional<verdict_t> verdictOfLine(const QByteArray& line)
{
    const QLatin1String text(line.constData()); // ends at the first zero byte, if there is one
    for (const verdict_t verdict : {verdict_t::proved, verdict_t::unknown, verdict_t::disproved}) {
        if (strOfVerdict(verdict) == text) {
            return verdict;
        }
    }
    return std::nullopt;
}

QString strOfVerdict(verdict_t verdict)
{
    switch (verdict) {
    case verdict_t::proved:
        return pos::ATTR_VALUE_PROVED;
    case verdict_t::disproved:
        return pos::ATTR_VALUE_DISPROVED;
    case verdict_t::unknown:
        break;
    }
    return pos::ATTR_VALUE_UNKNOWN;
}

pos::status_t statusAfter(pos::status_t old, verdict_t verdict, trust_t trust, bool last)
{
    if (verdict == verdict_t::disproved) {
        return pos::DISPROVED;
    }
    if (verdict == verdict_t::unknown) {
        return last ? pos::UNKNOWN : old;
    }
    if (trust == trust_t::redundancy) {
        // Anything but an unreliable proof counts as the first of two, even a proof.
        return old == pos::UNRELIABLY_PROVED ? pos::PROVED : pos::UNRELIABLY_PROVED;
    }
    return trust == trust_t::always ? pos::PROVED : pos::UNRELIABLY_PROVED;
}

bool setsMechanismStatus(pos::status_t old, pos::status_t status)
{
    return status != old;
}

QStringList driversAfter(const QStringList& drivers, const QString& driver, pos::status_t old,
                         verdict_t verdict, trust_t trust)
{
    const bool confirmed = trust != trust_t::redundancy || old == pos::UNRELIABLY_PROVED;
    if (verdict == verdict_t::disproved || (verdict == verdict_t::proved && confirmed)) {
        return {};
    }
    QStringList left = drivers;
    left.removeOne(driver);
    return left;
}

bool raisesGoal(const QString& before, pos::status_t status)
{
    return before == pos::ATTR_VALUE_UNPROVED ||
           (before == pos::ATTR_VALUE_UNRELIABLY_PROVED &&
            (status == pos::PROVED || status == pos::DISPROVED));
}
