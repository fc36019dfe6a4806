#include "capture/preferencesvalues.h"

namespace {

using Vorta::Settings;
using Vorta::SettingsInternal;
using Pattern = SettingsInternal::Measurement::AdvancedPattern;
using PatternCode = SettingsInternal::Measurement::PatternCode;
using Revision = SettingsInternal::Global::ProductRevision;
using CalibrationFile = SettingsInternal::Measurement::CalibrationFile;
using Mode = PreferencesValues::Mode;

Mode modeOf(const Settings& settings) {
    if (settings.getSettingsInternal().get<Pattern>().value() == PatternCode::ErrorCorrecting)
        return Mode::ErrorCorrecting;
    return settings.get<Settings::Bidirectional>().value() ? Mode::Bidirectional : Mode::Normal;
}

} // namespace

PreferencesValues PreferencesValues::of(const Settings& settings) {
    const SettingsInternal& internal = settings.getSettingsInternal();
    return {
        .calibrationFile = QString::fromLocal8Bit(internal.get<CalibrationFile>().value().c_str()),
        .contrastThreshold = QString::number(settings.get<Settings::Filters::Contrast::Threshold>().value(), 'f', 2),
        .outlierEnabled = settings.get<Settings::Filters::Outlier::Enabled>().value(),
        .outlierThreshold = QString::number(settings.get<Settings::Filters::Outlier::Threshold>().value(), 'f', 3),
        .saturatedEnabled = settings.get<Settings::Filters::Saturated::Enabled>().value(),
        .reflectionEnabled = settings.get<Settings::Filters::Reflection::Enabled>().value(),
        .mode = modeOf(settings),
        .redBalance = settings.get<Settings::RedBalance>().value(),
        .blueBalance = settings.get<Settings::BlueBalance>().value(),
        .productRevision = QString::fromStdString(internal.get<Revision>().toString()),
    };
}

void PreferencesValues::writeTo(Settings& settings) const {
    using Filters = Settings::Filters;
    settings.getSettingsInternal().set(CalibrationFile(calibrationFile.toLocal8Bit().toStdString()));
    settings.set(Filters::Contrast::Threshold(thresholdFromText(contrastThreshold)));
    settings.set(Filters::Outlier::Enabled(outlierEnabled));
    settings.set(Filters::Outlier::Threshold(thresholdFromText(outlierThreshold)));
    settings.set(Filters::Saturated::Enabled(saturatedEnabled));
    settings.set(Settings::Bidirectional(mode == Mode::Bidirectional));
    settings.getSettingsInternal().set(patternOf(mode, settings));
    settings.set(Filters::Reflection::Enabled(reflectionEnabled));
    settings.set(Settings::RedBalance(redBalance));
    settings.set(Settings::BlueBalance(blueBalance));
    settings.set(Revision::path, productRevision.toStdString());
}

Pattern patternOf(Mode mode, const Settings& settings) {
    if (mode == Mode::ErrorCorrecting)
        return Pattern(PatternCode::ErrorCorrecting); // explicit. NOLINT(modernize-return-braced-init-list)
    const auto& current = settings.getSettingsInternal().get<Pattern>();
    return current.value() == PatternCode::ErrorCorrecting ? Pattern() : current;
}

bool needsCalibrationFile(const Settings& settings) {
    return settings.getSettingsInternal().get<Revision>().value() < Revision::Value::Rev3;
}

double thresholdFromText(const QString& text) {
    // By way of the float's own text, so that 0.1 is 0.1 in the settings too and not 0.10000000149.
    return QString::number(static_cast<double>(text.toFloat()), 'g', 7).toDouble();
}
