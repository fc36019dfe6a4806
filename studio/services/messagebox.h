#pragma once

#include <QMessageBox>
#include <QString>

namespace VortaQt {

/// Shows a box with an OK button and returns once it is closed. The text appears letter by letter, never as rich text:
/// it may quote a file, a head or a server.
void showMessage(QMessageBox::Icon icon, QWidget* parent, const QString& title, const QString& text);

} // namespace VortaQt
