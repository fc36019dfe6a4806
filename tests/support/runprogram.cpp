#include "support/runprogram.h"

#include <QProcess>

#include <stdexcept>

namespace Vorta::Testing {

namespace {

std::string text(QByteArray output) {
    return output.replace("\r\n", "\n").toStdString();
}

} // namespace

Result runProgram(const std::string& program, const std::vector<std::string>& arguments) {
    QStringList words;
    for (const std::string& argument : arguments)
        words += QString::fromStdString(argument);
    QProcess process;
    process.setStandardInputFile(QProcess::nullDevice());
    process.start(QString::fromStdString(program), words);
    if (!process.waitForStarted(-1))
        throw std::runtime_error("Cannot run " + program + ": " + process.errorString().toStdString());
    process.waitForFinished(-1);
    return {.status = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
            .out = text(process.readAllStandardOutput()),
            .err = text(process.readAllStandardError())};
}

} // namespace Vorta::Testing
