#pragma once

#include <QSharedMemory>
#include <QString>

namespace VortaQt {

/// Lets one process hold a key at a time; this machine's next holder may come as soon as this one is gone, also by a
/// crash. Needs no application object.
///
///     const VortaQt::SingleInstance guard;
///     if (!guard.isFirst())
///         return 0;
class SingleInstance {
public:
    /// Takes the key if nobody holds it. Holds it until destroyed.
    explicit SingleInstance(const QString& key = QStringLiteral("VortaStudioRunning"));
    SingleInstance(const SingleInstance&) = delete;
    SingleInstance& operator=(const SingleInstance&) = delete;
    ~SingleInstance() = default;

    /// Whether this object holds the key.
    [[nodiscard]] bool isFirst() const noexcept { return isFirst_; }

private:
    QSharedMemory segment_;
    bool isFirst_;
};

} // namespace VortaQt
