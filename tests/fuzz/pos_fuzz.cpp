// Any bytes as a status file: every operation on it, and its text kept piece by piece.

#include "base/XmlFile.h"
#include "pos/document_text.h"
#include "pos/goal_status.h"
#include "pos/walk.h"

#include <QHash>

#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <numeric>
#include <stdexcept>

#include <sys/mman.h>
#include <unistd.h>

namespace
{

void require(bool holds)
{
    if (!holds) {
        std::abort();
    }
}

/// Unknown status words are reported by one exception, and nothing else is.
template <typename Operation>
void run(Operation operation)
{
    try {
        operation();
    } catch (const std::out_of_range& error) {
        require(error.what() == std::string("map::at"));
    }
}

void checkText(QDomDocument& document)
{
    pos::declareUtf8(document);
    pos::DocumentText text;
    text.setDocument(document);
    const auto requireSameText = [&] {
        const std::vector<QByteArray>& pieces = text.pieces();
        require(std::accumulate(pieces.begin(), pieces.end(), QByteArray()) ==
                document.toByteArray(pos::XML_INDENT));
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
    std::cerr.rdbuf(nullptr);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const int file = memfd_create("pos", MFD_CLOEXEC);
    require(file >= 0 && ::write(file, data, size) == static_cast<ssize_t>(size));
    const std::string path = "/proc/self/fd/" + std::to_string(file);
    std::list<std::string> names;
    run([&] {
        require(pos::getMechanisms(path, names));
    });
    QDomDocument document;
    require(readXmlFile(QString::fromStdString(path), document));
    run([&] {
        // The totals count every goal, and none twice.
        pos::metrics_t metrics;
        require(pos::getMetrics(path, metrics));
        pos::everyGoal(document, [&](const QDomElement&) {
            --metrics.total;
            return true;
        });
        require(metrics.total == 0);
    });
    checkText(document);
    run([&] {
        pos::checkPosInvariant(document);
    });
    for (const std::string& name : names) {
        run([&] {
            bool modified = false;
            require(pos::removeMechanism(document, name, modified) && modified);
        });
    }
    pos::unprove(document);
    require(pos::everyGoal(document, [](const QDomElement& goal) {
        return pos::statusOf(goal) == (pos::isProvedByProver(goal) ? pos::PROVED : pos::UNPROVED);
    }));
    ::close(file);
    return 0;
}
