#pragma once

#include <QObject>
#include <QString>

namespace Vorta {
class VortaInterface;
}

class QWidget;

/// Opening and saving: the dialogs, the choice of format by a name's ending, the error boxes and the folders that are
/// remembered. Failures of the controller's own file operations are thrown to the caller. GUI thread.
class FileCommands : public QObject {
    Q_OBJECT

public:
    /// `window` is the parent of dialogs and boxes; both outlive this.
    FileCommands(Vorta::VortaInterface& controller, QWidget& window);

    /// Opens a native data file. A missing file is reported in a box; a name of another kind than ".vdf" throws
    /// ArgumentInvalidException.
    void openFile(const QString& fileName);

    void loadPointCloud();
    void saveMeasurement();
    void loadSettings();
    void saveSettings();

Q_SIGNALS:
    /// A data file was opened and its record published.
    void fileOpened(QString fileName);

private:
    void saveAs(const QString& fileName, const QString& selectedFilter);
    void reportError(const QString& title, const QString& text);

    Vorta::VortaInterface& controller_;
    QWidget& window_;
};
