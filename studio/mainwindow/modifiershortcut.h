#pragma once

#include <QObject>

class QAction;
class QWidget;

/// Triggers an action by its shortcut of two keys where the first is a modifier that is pressed by itself: the toolkit
/// takes modifiers for parts of chords only and never matches such a sequence. Works while the window is active.
class ModifierShortcut : public QObject {
    Q_OBJECT

public:
    /// `window` owns this, and `action`.
    ModifierShortcut(QAction& action, QWidget& window);

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QAction& action_;
    const QWidget& window_;
    bool begun_ = false; ///< the modifier was the last key
};
