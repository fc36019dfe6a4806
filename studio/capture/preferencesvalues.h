#pragma once

#include "vorta/common/settings.h"

#include <QString>

/// The camera settings that have controls of their own in the preferences dialog, as those show them. Any thread.
struct PreferencesValues {
    enum class Mode { Normal, ErrorCorrecting, Bidirectional };

    QString calibrationFile;
    QString contrastThreshold; ///< 2 decimals
    bool outlierEnabled = false;
    QString outlierThreshold; ///< 3 decimals
    bool saturatedEnabled = false;
    bool reflectionEnabled = false;
    Mode mode = Mode::Normal;
    double redBalance = 0.0;
    double blueBalance = 0.0;
    QString productRevision; ///< "Rev3"

    [[nodiscard]] static PreferencesValues of(const Vorta::Settings& settings);

    /// Changes these settings and no others. A threshold that is no number counts as 0. Throws
    /// ArgumentOutOfRangeException or ArgumentInvalidException for a value that its setting does not accept.
    void writeTo(Vorta::Settings& settings) const;
};

/// The pattern that the mode stands for: that of the settings, but error correcting only in the mode of that name.
[[nodiscard]] Vorta::SettingsInternal::Measurement::AdvancedPattern patternOf(PreferencesValues::Mode mode,
                                                                              const Vorta::Settings& settings);

/// Whether heads of the settings' product revision need a calibration file.
[[nodiscard]] bool needsCalibrationFile(const Vorta::Settings& settings);

/// The setting that a text stands for: the number as a float, 0 where the text is none.
[[nodiscard]] double thresholdFromText(const QString& text);
