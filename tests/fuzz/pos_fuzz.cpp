// Any bytes as a status file: every operation on it, and its text kept piece by piece.

#include "app/XmlFile.h"
#include "pos/document_text.h"
#include "pos/pos.h"
#include "pos/pos_p.h"
#include "pos/printmetrics.h"

#include <QHash>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <stdexcept>

#include <sys/mman.h>
#include <unistd.h>

namespace
{

/// Unknown status words are reported by one exception, and nothing else is.
template <typename Operation>
void run(Operation operation)
{
    try {
        operation();
    } catch (const std::out_of_range& error) {
        if (std::strcmp(error.what(), "map::at") != 0) {
            throw;
        }
    }
}

void require(bool holds)
{
    if (!holds) {
        std::abort();
    }
}

void requireSameText(const QDomDocument& document, pos::DocumentText& text)
{
    QByteArray joined;
    for (const QByteArray& piece : text.pieces()) {
        joined += piece;
    }
    require(joined == document.toByteArray(pos::XML_INDENT));
}

void checkText(QDomDocument& document)
{
    pos::declareUtf8(document);
    pos::DocumentText text;
    text.setDocument(document);
    requireSameText(document, text);
    const QDomElement root = document.documentElement();
    std::size_t index = 0;
    for (QDomElement obligation = root.firstChildElement(pos::TAG_PROOF_OBLIGATION);
         !obligation.isNull();
         obligation = obligation.nextSiblingElement(pos::TAG_PROOF_OBLIGATION)) {
        obligation.appendChild(obligation.cloneNode());
        text.changed(index++);
    }
    requireSameText(document, text);
}

/// The totals count every goal, and none twice.
void checkMetrics(const std::string& path, const QDomDocument& document)
{
    pos::metrics_t metrics;
    require(pos::getMetrics(path, metrics));
    std::uint32_t goals = 0;
    pos::everyGoal(document, [&](const QDomElement&) {
        ++goals;
        return true;
    });
    require(metrics.total == goals);
    require(metrics.unproved + metrics.proved + metrics.unreliablyProved + metrics.disproved <=
            goals);
    require(metrics.provedByProver <= goals && metrics.provedExternally <= goals);
}

void checkFile(const std::string& path)
{
    std::list<std::string> names;
    run([&] {
        require(pos::getMechanisms(path, names));
    });
    run([&] {
        print_metrics(path, names.size() % 2 == 0, "component");
    });
    QDomDocument document;
    require(readXmlFile(QString::fromStdString(path), document));
    run([&] {
        checkMetrics(path, document);
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
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/)
{
    qSetGlobalQHashSeed(0);
    std::cout.rdbuf(nullptr);
    std::cerr.rdbuf(nullptr);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const int file = memfd_create("pos", MFD_CLOEXEC);
    require(file >= 0 && ::write(file, data, size) == static_cast<ssize_t>(size));
    checkFile("/proc/self/fd/" + std::to_string(file));
    ::close(file);
    return 0;
}
