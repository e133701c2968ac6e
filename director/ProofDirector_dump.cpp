// Diagnostic dumps of the director and its records.

#include "director/ProofDirector.h"

#include <QTextStream>

#include <ostream>

namespace
{

std::string joined(const QStringList& words)
{
    return words.join(QLatin1Char(' ')).toStdString();
}

void writeLines(std::ostream& out, const QStringList& words)
{
    for (const QString& word : words) {
        out << word.toStdString() << std::endl;
    }
}

} // namespace

std::ostream& operator<<(std::ostream& out, const ProofDirector& director)
{
    out << "pos: " << director.pos.toStdString() << std::endl;
    out << "pog: " << director.pog.toStdString() << std::endl;
    out << "dir: " << director.dir.toStdString() << std::endl;
    out << "loaded: " << (director.loaded ? 1 : 0) << std::endl;
    out << "mechanism:" << director.mechanism << std::endl;
    return out << "concurrency:" << director.settings.workers << std::endl;
}

std::ostream& operator<<(std::ostream& out, const ProofDirector::writer_data_t& data)
{
    out << "cmd: " << data.cmd.toStdString() << std::endl;
    out << "args: " << joined(data.args) << std::endl;
    out << "po2filename: " << data.po2filename.toStdString() << std::endl;
    out << "positions: ";
    for (const auto& [obligation, goal] : data.positions) {
        out << "{" << obligation << ", " << goal << "}";
    }
    return out << std::endl;
}

std::ostream& operator<<(std::ostream& out, const ProofDirector::prover_data_t& data)
{
    out << "cmdp: " << data.cmdp.toStdString() << std::endl;
    out << "argsp: " << std::endl;
    writeLines(out, data.argsp);
    out << "cmdr:" << data.cmdr.toStdString() << std::endl;
    out << "argsr:" << std::endl;
    writeLines(out, data.argsp); // the prover's arguments once more, on purpose
    out << "inpath:" << data.inpath.toStdString() << std::endl;
    out << "po addresses:" << std::endl;
    for (const auto& [obligation, goal] : data.po_addresses) {
        out << "\t" << obligation << "\t" << goal << std::endl;
    }
    return out;
}

std::ostream& operator<<(std::ostream& out, const ProofDirector::po_data_t& data)
{
    QString element;
    QTextStream stream(&element);
    data.element.save(stream, -1);
    return out << "{" << element.toStdString() << ", " << data.status << ", {"
               << joined(data.drivers) << "}}";
}

std::ostream& operator<<(std::ostream& out, const ProofDirector::obligations_t& obligations)
{
    out << "{" << std::endl;
    for (const auto& [name, goals] : obligations) {
        out << "  " << name << "," << std::endl;
        out << "  {" << std::endl;
        for (const ProofDirector::po_data_t& goal : goals) {
            out << "    " << goal << std::endl;
        }
        out << "  }" << std::endl;
    }
    return out;
}
