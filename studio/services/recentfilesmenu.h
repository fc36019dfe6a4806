#pragma once

#include <QMenu>
#include <QStringList>

namespace VortaQt {

/// The "Recent Files" submenu: the last opened data files, newest first, at most nine.
class RecentFilesMenu : public QMenu {
    Q_OBJECT

public:
    /// The first nine of `files`, which is the list of an earlier menu.
    RecentFilesMenu(QWidget* parent, const QStringList& files);

    /// Puts a path at the top, where it stands once only.
    void addFile(const QString& path);

    [[nodiscard]] const QStringList& files() const noexcept { return files_; }

Q_SIGNALS:
    void fileSelected(QString path);

private:
    void rebuild();

    QStringList files_;
};

} // namespace VortaQt
