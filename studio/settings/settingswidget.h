#pragma once

#include "vorta/common/settings.h"

#include <QWidget>

#include <memory>

class QTreeView;
class SettingsTreeModel;

namespace Ui {
class SettingsWidget;
}

namespace VortaQt {

/// Two trees to look at: the settings that the camera holds, and those with which the frame on screen was captured.
/// The tree that was filled last is in front. GUI thread.
class SettingsWidget : public QWidget {
    Q_OBJECT

public:
    explicit SettingsWidget(QWidget* parent = nullptr);
    ~SettingsWidget() override;

    /// Follows the sizes of the trees.
    bool eventFilter(QObject* watched, QEvent* event) override;

Q_SIGNALS:
    /// The frame's settings are to be used again. The button behind it stays disabled for now.
    void settingsApplied(Vorta::Settings settings);

public Q_SLOTS:
    void setCameraSettings(const Vorta::Settings& settings);
    void setFrameSettings(const Vorta::Settings& settings);

private:
    /// A tree of the form with what it shows.
    struct Page {
        int tab;
        QTreeView& view;
        std::unique_ptr<SettingsTreeModel> model;
        Vorta::Settings settings;
    };

    void fill(Page& page, const Vorta::Settings& settings);

    std::unique_ptr<Ui::SettingsWidget> form_;
    Page camera_;
    Page frame_;
};

} // namespace VortaQt
