// A capture dialog, wired to its controller as the main window wires it.
#pragma once

#include "capture/gcpsdialog.h"
#include "studio/capture/dialogfixture.h"

#include <QCheckBox>
#include <QDoubleSpinBox>
#include <QListView>

namespace Vorta::Testing {

class GcpsTest : public DialogTest {
protected:
    void open() {
        dialog_ = std::make_unique<GcpsDialog>(controller());
        QObject::connect(dialog_.get(), &GcpsDialog::measurementTriggered, &controller(),
                         [this](const FrameSpec& spec) { controller().measure(spec); });
        QObject::connect(dialog_.get(), &GcpsDialog::stopLiveMeasure, &controller(), &VortaInterface::stopLive);
        showAndActivate(*dialog_);
    }

    /// As after a restart of the program.
    void reopen() {
        dialog_.reset();
        controller_.reset();
        open();
    }

    GcpsDialog& dialog() { return *dialog_; }
    template <class T>
    T& part(const char* name) {
        return find<T>(*dialog_, QLatin1String(name));
    }
    QSpinBox& iris() { return part<QSpinBox>("irisSpinBox"); }
    QSpinBox& exposure() { return part<QSpinBox>("exposureTimeSpinBox"); }
    QDoubleSpinBox& led() { return part<QDoubleSpinBox>("minLEDBox"); }
    QCheckBox& useMaximum() { return part<QCheckBox>("checkBoxAlwaysUseMax"); }
    QListView& list() { return part<QListView>("irisListView"); }

    /// What the list shows, "2 5 11".
    std::string listed() {
        QStringList texts;
        for (int row = 0; row < list().model()->rowCount(); ++row)
            texts += list().model()->index(row, 0).data().toString();
        return texts.join(QLatin1Char(' ')).toStdString();
    }

    std::unique_ptr<GcpsDialog> dialog_;
};

} // namespace Vorta::Testing
