// Command lines. Turns the parameters of a tool into arguments, under one rule for provers and
// readers and another for writers, and every writer run into the prover and reader run of the same
// index. Leaves them in `proverData`; runs on the main thread between two drivers.

#include "director/ProofDirector.h"

#include "director/ProofDirector_p.h"

void append_param(const mechanism::param_t& param, QStringList& args, const QString& file)
{
    static const QString placeholder = QStringLiteral("${file}");
    QString name = param.name;
    QString value = param.value;
    name.replace(placeholder, file);
    value.replace(placeholder, file);
    if (!name.isNull() && !value.isNull() && !param.separator.trimmed().isEmpty()) {
        // One after the other, on purpose: a "%2" in the name is a place for the separator.
        args << QStringLiteral("%1%2%3").arg(name).arg(param.separator).arg(value);
        return;
    }
    if (!name.isNull()) {
        args << name;
    }
    if (!value.isNull()) {
        args << value;
    }
}

// NOLINTNEXTLINE(performance-unnecessary-value-param)
void addParametersBits(QStringList& args, mechanism::tool_t tool)
{
    for (const mechanism::param_t& param : tool.parameters) {
        if (param.name.isEmpty()) {
            args << param.value;
        } else if (param.value.isEmpty()) {
            args << param.name;
        } else if (param.separator == QStringLiteral(" ")) {
            args << param.name << param.value;
        } else {
            args << param.name + param.separator + param.value;
        }
    }
}

void ProofDirector::produceProverData()
{
    proverData.clear();
    const std::lock_guard<std::mutex> lock(fileMutex);
    for (writer_data_t& run : writerData) {
        prover_data_t job;
        job.cmdp = driver.prover.path;
        for (const mechanism::param_t& param : driver.prover.parameters) {
            append_param(param, job.argsp, run.po2filename);
        }
        job.cmdr = driver.reader.path;
        for (const mechanism::param_t& param : driver.reader.parameters) {
            append_param(param, job.argsr, run.po2filename);
        }
        job.inpath = run.po2filename;
        // From here on the goals of a job live in its prover run only.
        job.po_addresses = std::move(run.positions);
        run.positions.clear();
        proverData.push_back(std::move(job));
    }
}
