#include "services/messagebox.h"

namespace VortaQt {

void showMessage(QMessageBox::Icon icon, QWidget* parent, const QString& title, const QString& text) {
    QMessageBox box(icon, title, text, QMessageBox::Ok, parent);
    box.setTextFormat(Qt::PlainText);
    box.exec();
}

} // namespace VortaQt
