#pragma once

#include "vorta/common/settings.h"

#include <QByteArray>
#include <QSettings>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <vector>

namespace VortaQt {

/// What the program remembers between runs, typed, in the platform's native settings of this organisation and
/// application. One per process. GUI thread.
///
/// Keys are ASCII, for instance "GUI/LastFileOpenFolder". A value of another type than asked for is converted as
/// QVariant converts it.
class AppSettings : public QSettings {
    Q_OBJECT

public:
    /// The application's organisation and name must be set before.
    explicit AppSettings(QObject* parent);
    AppSettings(const AppSettings&) = delete;
    AppSettings& operator=(const AppSettings&) = delete;
    ~AppSettings() override;

    /// Throws RuntimeException when there is none.
    [[nodiscard]] static AppSettings& instance();

    /// Whether the store's file holds something that is no preferences.
    [[nodiscard]] bool isDamaged() const;

    /// Stored as 0 or 1; every number but 0 reads as true, a text that is no number as false.
    [[nodiscard]] bool getBool(const char* key, bool defaultValue) const;
    void setBool(const char* key, bool value);

    [[nodiscard]] QByteArray getByteArray(const char* key, const QByteArray& defaultValue) const;
    void setByteArray(const char* key, const QByteArray& value);

    [[nodiscard]] QString getString(const char* key, const QString& defaultValue) const;
    void setString(const char* key, const QString& value);

    /// Stored as decimal numbers with blanks between; what is no such number is left out. Empty when the key is absent.
    [[nodiscard]] std::vector<std::uint64_t> getUnsignedList(const char* key) const;
    void setUnsignedList(const char* key, const std::vector<std::uint64_t>& values);

    /// The stored paths whose files exist now, in the order of their keys as texts (10 comes before 2).
    [[nodiscard]] QStringList recentFiles() const;
    void setRecentFiles(const QStringList& files);

    /// Stores every public setting, and those internal ones that differ from their defaults.
    void saveCameraSettings(const Vorta::Settings& settings);

    /// Sets every stored setting. One that the settings object refuses is logged as a warning and keeps its value.
    /// Throws RuntimeException when something is refused and there is no log handler.
    void loadCameraSettings(Vorta::Settings& settings) const;
};

} // namespace VortaQt
