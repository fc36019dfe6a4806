#include "services/appsettings.h"

#include "services/loghandler.h"
#include "settings/expertsettings.h"
#include "vorta/common/exceptions.h"

#include <QFileInfo>

#include <string>
#include <string_view>

namespace VortaQt {

namespace {

AppSettings* theSettings = nullptr;

constexpr std::string_view recentFilesGroup = "GUI/RecentFiles";
constexpr std::string_view recentFileKey = "RecentFile";
constexpr std::string_view internalGroup = "Internal";

QLatin1String latin1(std::string_view text) {
    return QLatin1String(text.data(), static_cast<int>(text.size()));
}

QString settingText(const Vorta::Settings& settings, std::string_view path) {
    return QString::fromLocal8Bit(settings.getString(path).c_str());
}

/// Says that a stored setting was refused and what its value is instead; a path that is no setting has none.
void reportRefusal(const Vorta::ArgumentException& refusal, const Vorta::Settings& settings, const std::string& path) {
    QString current;
    try {
        current = settingText(settings, path);
    } catch (const Vorta::ArgumentException&) {
        current.clear(); // no setting of that name: the refusal says so
    }
    const QString message =
        QStringLiteral("%1 - defaulting to %2").arg(QString::fromLocal8Bit(refusal.what()), current);
    LogHandler::instance().log(Vorta::Log::Severity::Warning, message.toLocal8Bit().toStdString());
}

/// The keys and texts of a group and the groups below it.
QMap<QString, QString> readGroup(QSettings& store, std::string_view group) {
    QMap<QString, QString> texts;
    store.beginGroup(latin1(group));
    for (const QString& key : store.allKeys())
        texts.insert(key, store.value(key).toString());
    store.endGroup();
    return texts;
}

} // namespace

AppSettings::AppSettings(QObject* parent) : QSettings(parent) {
    theSettings = this;
}

AppSettings::~AppSettings() {
    theSettings = nullptr;
}

AppSettings& AppSettings::instance() {
    if (theSettings == nullptr)
        throw Vorta::RuntimeException("AppSettings == nullptr");
    return *theSettings;
}

bool AppSettings::isDamaged() const {
    static_cast<void>(allKeys()); // a file is only read as far as it is asked for
    return status() == QSettings::FormatError;
}

bool AppSettings::getBool(const char* key, bool defaultValue) const {
    return value(QLatin1String(key), defaultValue ? 1 : 0).toInt() != 0;
}

void AppSettings::setBool(const char* key, bool value) {
    setValue(QLatin1String(key), value ? 1 : 0);
}

QByteArray AppSettings::getByteArray(const char* key, const QByteArray& defaultValue) const {
    return value(QLatin1String(key), defaultValue).toByteArray();
}

void AppSettings::setByteArray(const char* key, const QByteArray& value) {
    setValue(QLatin1String(key), value);
}

QString AppSettings::getString(const char* key, const QString& defaultValue) const {
    return value(QLatin1String(key), defaultValue).toString();
}

void AppSettings::setString(const char* key, const QString& value) {
    setValue(QLatin1String(key), value);
}

std::vector<std::uint64_t> AppSettings::getUnsignedList(const char* key) const {
    std::vector<std::uint64_t> values;
    const QStringList parts = getString(key, QString()).split(QLatin1Char(' '), Qt::SkipEmptyParts);
    for (const QString& part : parts) {
        bool isNumber = false;
        const std::uint64_t number = part.toULongLong(&isNumber, 10);
        if (isNumber)
            values.push_back(number);
    }
    return values;
}

void AppSettings::setUnsignedList(const char* key, const std::vector<std::uint64_t>& values) {
    QStringList parts;
    for (const std::uint64_t value : values)
        parts += QString::number(value);
    setString(key, parts.join(QLatin1Char(' ')));
}

QStringList AppSettings::recentFiles() const {
    QSettings store;
    store.beginGroup(latin1(recentFilesGroup));
    QStringList files;
    for (const QString& key : store.childKeys()) {
        const QString path = store.value(key).toString();
        if (key.contains(latin1(recentFileKey)) && QFileInfo::exists(path))
            files += path;
    }
    return files;
}

void AppSettings::setRecentFiles(const QStringList& files) {
    QSettings store;
    store.remove(latin1(recentFilesGroup));
    store.beginGroup(latin1(recentFilesGroup));
    int position = 0;
    for (const QString& path : files)
        store.setValue(latin1(recentFileKey) + QString::number(position++), path);
}

void AppSettings::saveCameraSettings(const Vorta::Settings& settings) {
    QSettings store;
    store.beginGroup(latin1(Vorta::Settings::rootName()));
    for (const Vorta::SettingDescription& setting : Vorta::Settings::catalogue())
        store.setValue(latin1(setting.path), settingText(settings, setting.path));
    store.endGroup();

    const QMap<QString, QString> expertSettings = collectExpertSettings(settings);
    store.beginGroup(latin1(internalGroup));
    for (const Vorta::SettingDescription& setting : Vorta::SettingsInternal::catalogue()) {
        const QString path = latin1(setting.path);
        // What is back at its default must not come back with an old value at the next start.
        if (const auto entry = expertSettings.constFind(path); entry != expertSettings.cend())
            store.setValue(path, *entry);
        else
            store.remove(path);
    }
    store.endGroup();
}

void AppSettings::loadCameraSettings(Vorta::Settings& settings) const {
    QSettings store;
    const QMap<QString, QString> publicSettings = readGroup(store, Vorta::Settings::rootName());
    for (auto entry = publicSettings.cbegin(); entry != publicSettings.cend(); ++entry) {
        const std::string path = entry.key().toLocal8Bit().toStdString();
        try {
            settings.set(path, entry.value().toLocal8Bit().toStdString());
        } catch (const Vorta::ArgumentException& refusal) {
            reportRefusal(refusal, settings, path);
        }
    }
    // One by one, so that a refused value does not keep those behind it from being set.
    const QMap<QString, QString> expertSettings = readGroup(store, internalGroup);
    for (auto entry = expertSettings.cbegin(); entry != expertSettings.cend(); ++entry) {
        try {
            applyExpertSettings(settings, {{entry.key(), entry.value()}});
        } catch (const Vorta::ArgumentException& refusal) {
            reportRefusal(refusal, settings, entry.key().toLocal8Bit().toStdString());
        }
    }
}

} // namespace VortaQt
