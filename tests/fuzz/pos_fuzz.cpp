// Any bytes as a status file: every operation on it, and its text kept piece by piece.

#include "base/XmlFile.h"
#include "pos/document_text.h"
#include "pos/goal_status.h"
#include "pos/walk.h"
#include "tests/fuzz/fuzz.h"

#include <QHash>

#include <numeric>

using fuzz::knowsAllWords;
using fuzz::require;

namespace
{

void checkText(QDomDocument& document)
{
    pos::declareUtf8(document);
    pos::DocumentText text;
    text.setDocument(document);
    const auto requireSameText = [&] {
        const std::vector<QByteArray>& pieces = text.pieces();
        require(std::accumulate(pieces.begin(), pieces.end(), QByteArray()) ==
                    document.toByteArray(pos::XML_INDENT),
                "the pieces are not the text of the document");
    };
    requireSameText();
    std::size_t index = 0;
    for (QDomElement child = document.documentElement().firstChildElement(); !child.isNull();
         child = child.nextSiblingElement()) {
        if (child.tagName() == pos::TAG_PROOF_OBLIGATION) {
            child.appendChild(child.cloneNode());
            text.changed(index++);
        }
    }
    requireSameText();
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/)
{
    qSetGlobalQHashSeed(0);
    fuzz::silenceStreams();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const fuzz::MemoryFile file(data, size);
    const std::string path = file.path();
    std::list<std::string> names;
    knowsAllWords([&] {
        require(pos::getMechanisms(path, names), "the file is not read");
    });
    QDomDocument document;
    require(readXmlFile(QString::fromStdString(path), document), "the file is not read");
    knowsAllWords([&] {
        // The totals count every goal, and none twice.
        pos::metrics_t metrics;
        require(pos::getMetrics(path, metrics), "the file is not read");
        pos::everyGoal(document, [&](const QDomElement&) {
            --metrics.total;
            return true;
        });
        require(metrics.total == 0, "the total differs from the goals");
    });
    checkText(document);
    knowsAllWords([&] {
        pos::checkPosInvariant(document);
    });
    for (const std::string& name : names) {
        knowsAllWords([&] {
            bool modified = false;
            require(pos::removeMechanism(document, name, modified) && modified,
                    "a mechanism that the file lists is not removed");
        });
    }
    pos::unprove(document);
    require(pos::everyGoal(document,
                           [](const QDomElement& goal) {
                               return pos::statusOf(goal) ==
                                      (pos::isProvedByProver(goal) ? pos::PROVED : pos::UNPROVED);
                           }),
            "a goal is not as its prover says");
    return 0;
}
