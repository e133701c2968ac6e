#include "mechtool/Confirmation.h"

#include "director/ProofDirector.h"
#include "mechtool/FailedJob.h"
#include "mechtool/Interruption.h"
#include "mechtool/MechanismFile.h"
#include "mechtool/Text.h"
#include "mechtool/WatchedObserver.h"
#include "pos/document_text.h"
#include "pos/walk.h"

#include <QFile>

#include <algorithm>
#include <mutex>
#include <set>
#include <utility>

namespace
{

/// A verdict to confirm.
using question_t = std::pair<address_t, QString>;

/// What a job found out about one goal.
struct answer_of_job_t {
    QString word; ///< null when there is no verdict
    QString reason;
};

/// Collects the verdicts, and lets the watch see everything.
class Witness : public WatchedObserver
{
public:
    Witness(const component_t& played, Watch& other) : WatchedObserver(other), component(played) {}

    void jobEnded(const job_ended_t& job) override
    {
        WatchedObserver::jobEnded(job);
        const std::lock_guard<std::mutex> lock(mutex);
        for (std::size_t i = 0; i < job.goals.size(); ++i) {
            // A verdict of a job in which a tool failed is none to rely on.
            const QString reason = whyNone(job);
            const QString word = job.verdicts.value(static_cast<int>(i));
            answers[{job.goals[i], driver()}] = {reason.isNull() ? word : QString(), reason};
        }
    }

    /// By question. To be used when no job runs.
    std::map<question_t, answer_of_job_t> answers;

private:
    /// Why there is no verdict.
    QString whyNone(const job_ended_t& job) const
    {
        return job.end == job_end_t::stopped ? QStringLiteral("it was stopped")
                                             : failureOf(job, [this, &job](std::size_t at) {
                                                   return goalName(component, job.goals[at]);
                                               });
    }

    const component_t& component;
    std::mutex mutex;
};

bool isVerdict(pos::status_t status, bool onlyProved)
{
    return status == pos::PROVED || (status == pos::DISPROVED && !onlyProved);
}

const mechanism_record_t* recordOf(const goal_t& goal, const QString& mechanism)
{
    for (const mechanism_record_t& record : goal.mechanisms) {
        if (record.name == mechanism) {
            return &record;
        }
    }
    return nullptr;
}

const mechanism::driver_t* driverNamed(const mechanism::mechanism_t& mechanism, const QString& name)
{
    for (const mechanism::driver_t& driver : mechanism.drivers) {
        if (driver.name == name) {
            return &driver;
        }
    }
    return nullptr;
}

/// The verdicts to confirm, with what is known before anything was run.
confirmation_t scopeOf(const component_t& component, const mechanism::mechanism_t& mechanism,
                       bool onlyProved, const play_options_t& options)
{
    confirmation_t scope;
    scope.mechanism = QString::fromStdString(mechanism.name);
    const auto isAsked = [&](const driver_record_t& record) {
        const mechanism::driver_t* driver = driverNamed(mechanism, record.name);
        return isVerdict(record.status, onlyProved) &&
               (options.driver.isEmpty() || record.name == options.driver) &&
               (!options.fast || driver == nullptr || driver->fast);
    };
    for (std::size_t i = 0; i < component.obligations.size(); ++i) {
        for (std::size_t j = 0; j < component.obligations[i].goals.size(); ++j) {
            const mechanism_record_t* record =
                recordOf(component.obligations[i].goals[j], scope.mechanism);
            if (record == nullptr) {
                continue;
            }
            confirmed_goal_t goal;
            goal.before = record->status;
            for (const driver_record_t& driver : record->drivers) {
                if (isAsked(driver)) {
                    goal.drivers.push_back({driver.name, driver.status, {}, {}});
                }
            }
            const bool claims =
                isVerdict(goal.before, onlyProved) || goal.before == pos::UNRELIABLY_PROVED;
            if (!goal.drivers.empty() || (options.driver.isEmpty() && claims)) {
                scope.goals.emplace(address_t(i, j), std::move(goal));
            }
        }
    }
    return scope;
}

/// The questions that the drivers of the mechanism can answer; the others get their reason.
std::set<question_t> questionsOf(confirmation_t& scope, const mechanism::mechanism_t& mechanism)
{
    std::set<question_t> questions;
    for (auto& [address, goal] : scope.goals) {
        for (confirmed_driver_t& verdict : goal.drivers) {
            if (driverNamed(mechanism, verdict.driver) == nullptr) {
                verdict.reason = QStringLiteral("the mechanism file has no such driver");
            } else {
                questions.insert({address, verdict.driver});
            }
        }
    }
    return questions;
}

/// Writes the copy of the POS file for one pass: all goals are open, and of the verdicts of the
/// mechanism only those asked for remain.
void writeCopy(const QString& pos, const QString& copy, const QString& mechanism,
               const std::set<question_t>& questions)
{
    QDomDocument document = loadDocument(pos);
    std::size_t i = 0;
    for (const QDomElement& obligation : pos::obligationsOf(document)) {
        std::size_t j = 0;
        for (QDomElement& goal : pos::goalsOf(obligation)) {
            QDomElement record = pos::mechanismOf(goal, mechanism);
            if (record.isNull()) { // a replay wants one on every goal
                record = document.createElement(pos::TAG_MECHANISM);
                record.setAttribute(pos::ATTR_NAME, mechanism);
                goal.appendChild(record);
            }
            goal.setAttribute(pos::ATTR_STATUS, pos::ATTR_VALUE_UNPROVED);
            record.setAttribute(pos::ATTR_STATUS, pos::ATTR_VALUE_UNPROVED);
            for (QDomElement& driver : pos::driversOf(record)) {
                if (questions.count({{i, j}, pos::nameOf(driver)}) == 0) {
                    driver.setAttribute(pos::ATTR_STATUS, pos::ATTR_VALUE_UNPROVED);
                }
            }
            ++j;
        }
        ++i;
    }
    pos::declareUtf8(document);
    QFile file(copy);
    const QByteArray text = document.toByteArray(pos::XML_INDENT);
    if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size() || !file.flush()) {
        throw CannotAnswer(shown(copy) + QStringLiteral(": ") + file.errorString() +
                           QStringLiteral(": make room there, or set TMPDIR"));
    }
}

/// The statuses that a pass has given the mechanism.
void takeStatuses(const QString& copy, confirmation_t& confirmation)
{
    const component_t played = readComponent(copy);
    for (auto& [address, goal] : confirmation.goals) {
        const mechanism_record_t* record = recordOf(
            played.obligations.at(address.first).goals.at(address.second), confirmation.mechanism);
        goal.after = record == nullptr ? pos::UNPROVED : record->status;
    }
}

/// The status that verdicts give a mechanism: `proofs` drivers proved the goal; `otherwise` is what
/// it is without any of them.
pos::status_t statusByVerdicts(mechanism::trust_t trust, std::size_t proofs, bool refuted,
                               pos::status_t otherwise)
{
    if (refuted) {
        return pos::DISPROVED;
    }
    if (proofs == 0) {
        return otherwise;
    }
    const bool isReliable = trust == mechanism::trust_t::always ||
                            (trust == mechanism::trust_t::redundancy && proofs > 1);
    return isReliable ? pos::PROVED : pos::UNRELIABLY_PROVED;
}

/// Where a verdict was not asked for, the status does not follow from the pass alone: what was not
/// asked counts as it stands. Where one was not confirmed, the pass may have taken it all the same,
/// from a job in which a tool failed: then the confirmed ones alone count.
void settleStatuses(const component_t& component, mechanism::trust_t trust,
                    confirmation_t& confirmation)
{
    for (auto& [address, goal] : confirmation.goals) {
        const mechanism_record_t* record = recordOf(
            component.obligations[address.first].goals[address.second], confirmation.mechanism);
        std::size_t proofs = 0;
        bool refuted = false;
        bool allAsked = true;
        bool allConfirmed = true;
        for (const driver_record_t& driver : record->drivers) {
            const auto asked = std::find_if(goal.drivers.begin(), goal.drivers.end(),
                                            [&](const confirmed_driver_t& verdict) {
                                                return verdict.driver == driver.name;
                                            });
            const bool isAsked = asked != goal.drivers.end();
            const QString word = isAsked ? asked->after : pos::strOfProofStatus(driver.status);
            proofs += word == pos::ATTR_VALUE_PROVED ? 1 : 0;
            refuted = refuted || word == pos::ATTR_VALUE_DISPROVED;
            allAsked = allAsked && (isAsked || !isVerdict(driver.status, false));
            allConfirmed = allConfirmed && !word.isNull();
        }
        if (!allAsked || !allConfirmed) {
            goal.after =
                statusByVerdicts(trust, proofs, refuted, allConfirmed ? goal.after : pos::UNPROVED);
        }
    }
}

} // namespace

confirmation_t confirm(const component_t& component, const QString& file, bool onlyProved,
                       const play_options_t& options, const QString& folder, Watch& watch)
{
    const mechanism::mechanism_t mechanism = loadMechanism(file);
    confirmation_t confirmation = scopeOf(component, mechanism, onlyProved, options);
    std::set<question_t> open = questionsOf(confirmation, mechanism);
    const QString copy = folder + QStringLiteral("/copy.pos");
    Witness witness(component, watch);
    for (bool first = true, more = !open.empty(); more; first = false) {
        writeCopy(options.pos, copy, confirmation.mechanism, open);
        ProofDirector director(settingsFor(options, file, copy, folder, witness));
        requireLoaded(director, file);
        Interruption::during(director, [&director] {
            director.replay();
        });
        if (first) {
            takeStatuses(copy, confirmation);
        }
        const std::size_t before = open.size();
        for (const auto& [question, answer] : witness.answers) {
            open.erase(question);
        }
        more = !open.empty() && open.size() != before;
    }
    for (auto& [address, goal] : confirmation.goals) {
        for (confirmed_driver_t& verdict : goal.drivers) {
            const auto answer = witness.answers.find({address, verdict.driver});
            if (answer != witness.answers.end()) {
                verdict.after = answer->second.word;
                verdict.reason = answer->second.reason;
            } else if (verdict.reason.isEmpty()) {
                verdict.reason = QStringLiteral("it was not run");
            }
        }
    }
    settleStatuses(component, mechanism.trust, confirmation);
    return confirmation;
}
