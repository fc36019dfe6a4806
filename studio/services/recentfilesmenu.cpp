#include "services/recentfilesmenu.h"

namespace VortaQt {

namespace {

constexpr int mostFiles = 9;

} // namespace

RecentFilesMenu::RecentFilesMenu(QWidget* parent, const QStringList& files)
    : QMenu(QStringLiteral("&Recent Files"), parent), files_(files.mid(0, mostFiles)) {
    connect(this, &QMenu::triggered, this, [this](const QAction* entry) {
        // The label is "&<position> <path>": the path starts after the first blank and may hold more of them.
        Q_EMIT fileSelected(entry->text().section(QLatin1Char(' '), 1, -1));
    });
    rebuild();
}

void RecentFilesMenu::addFile(const QString& path) {
    files_.removeOne(path);
    if (files_.size() >= mostFiles)
        files_.removeLast();
    files_.prepend(path);
    rebuild();
}

void RecentFilesMenu::rebuild() {
    clear();
    int position = 0;
    for (const QString& path : files_)
        addAction(QStringLiteral("&%1 ").arg(++position) + path);
    setEnabled(!files_.isEmpty());
}

} // namespace VortaQt
