#pragma once

#include <QByteArrayList>
#include <QDir>
#include <QElapsedTimer>
#include <QMap>
#include <QProcess>
#include <QTemporaryDir>

#include <algorithm>

namespace Vorta::Testing {

/// The real program in a process of its own, with a home of its own, told and observed through its pipes.
class StudioProcess {
public:
    /// `home` holds the preferences; several processes may share one. `variables` replace those of the environment.
    /// `program` stands beside its libraries and drivers.
    explicit StudioProcess(const QString& home, const QStringList& arguments = {},
                           const QMap<QString, QString>& variables = {},
                           const QString& program = QStringLiteral(VORTA_BIN_DIR "/VortaStudioObserved")) {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("HOME"), home);
        environment.insert(QStringLiteral("XDG_CONFIG_HOME"), home);
        for (auto variable = variables.cbegin(); variable != variables.cend(); ++variable)
            environment.insert(variable.key(), variable.value());
        process_.setProcessEnvironment(environment);
        process_.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process_.start(program, arguments);
    }
    StudioProcess(const StudioProcess&) = delete;
    StudioProcess& operator=(const StudioProcess&) = delete;
    ~StudioProcess() { kill(); }

    /// Waits until the program tells a line that starts with `beginning`; returns it, or an empty text after 30 s or
    /// when the program ended without it. Lines that were told before are looked at first.
    QByteArray waitForLine(const QByteArray& beginning) {
        QElapsedTimer timer;
        timer.start();
        while (true) {
            while (process_.canReadLine())
                lines_ += process_.readLine().trimmed();
            for (int i = read_; i < lines_.size(); ++i)
                if (lines_[i].startsWith(beginning)) {
                    read_ = i + 1;
                    return lines_[i];
                }
            if (timer.elapsed() > 30'000 || (process_.state() == QProcess::NotRunning && !process_.canReadLine()))
                return {};
            process_.waitForReadyRead(100);
        }
    }

    void command(const QByteArray& text) {
        process_.write(text);
        process_.write("\n");
        process_.waitForBytesWritten();
    }

    /// Exit status once the program has ended by itself, -1000 when it crashed or did not end within 30 s.
    int exitCode() {
        if (!endsWithin(30'000))
            return -1000;
        while (process_.canReadLine())
            lines_ += process_.readLine().trimmed();
        return process_.exitStatus() == QProcess::NormalExit ? process_.exitCode() : -1000;
    }

    bool endsWithin(int milliseconds) {
        return process_.waitForFinished(milliseconds) || process_.state() == QProcess::NotRunning;
    }

    /// As by `kill -9`.
    void kill() {
        process_.kill();
        process_.waitForFinished();
    }

    [[nodiscard]] qint64 processId() const { return process_.processId(); }
    [[nodiscard]] bool running() { return process_.state() == QProcess::Running; }
    /// How many lines told so far start with `beginning`.
    [[nodiscard]] auto count(const QByteArray& beginning) const {
        return std::count_if(lines_.begin(), lines_.end(),
                             [&](const QByteArray& line) { return line.startsWith(beginning); });
    }
    [[nodiscard]] const QByteArrayList& lines() const noexcept { return lines_; }

private:
    QProcess process_;
    QByteArrayList lines_;
    int read_ = 0;
};

} // namespace Vorta::Testing
