#include "capture/gcpsdialog.h"

#include "camera/vortainterface.h"
#include "capture/irislist.h"
#include "capture/irislistviewmodel.h"
#include "capture/ledscale.h"
#include "services/appsettings.h"
#include "settings/latin1.h"
#include "settings/settingtooltip.h"
#include "ui_GcpsDialog.h"

#include <QItemSelectionModel>
#include <QKeyEvent>
#include <QShortcut>
#include <QSignalBlocker>

#include <algorithm>
#include <chrono>
#include <initializer_list>
#include <limits>
#include <string_view>
#include <utility>

namespace {

using Vorta::Settings;

constexpr const char* irisListKey = "GUI/HDRIris";
constexpr const char* useMaximumKey = "GUI/MaxLEDForSingle";
constexpr std::size_t fewestForHdr = 2;

/// For the controls, which know no larger numbers.
template <class Number>
int toInt(Number value) {
    constexpr auto largest = static_cast<Number>(std::numeric_limits<int>::max());
    return static_cast<int>(value < largest ? value : largest);
}

template <class Control>
void setRangeAndValue(Control& control, int minimum, int maximum, int value) {
    control.setRange(minimum, maximum);
    control.setValue(value);
}

LedScale scaleOf(const QDoubleSpinBox& box, const QSlider& slider) {
    return {.spinMinimum = box.minimum(),
            .spinMaximum = box.maximum(),
            .sliderMinimum = slider.minimum(),
            .sliderMaximum = slider.maximum()};
}

} // namespace

GcpsDialog::GcpsDialog(const Vorta::VortaInterface& controller, QWidget* parent)
    : QDialog(parent),
      controller_(controller),
      ui_(std::make_unique<Ui::GcpsDialog>()),
      irises_(new IrisListViewModel(this)) {
    ui_->setupUi(this);
    setWindowFlags(windowFlags() & ~Qt::WindowContextHelpButtonHint);
    setToolTips();
    ui_->irisListView->setModel(irises_);
    load();
    connectControls();
    updateIrisButtons();
    slotEnableMeasurementControlsFromState(controller_.status());
    alignControls();
}

GcpsDialog::~GcpsDialog() = default;

void GcpsDialog::alignControls() {
    const auto widen = [](std::initializer_list<QWidget*> column) {
        int width = 0;
        for (const QWidget* widget : column)
            width = std::max(width, widget->sizeHint().width());
        for (QWidget* widget : column)
            widget->setMinimumWidth(width);
    };
    widen({ui_->irisLabel, ui_->exposureTimeLabel, ui_->ledCurrentLabel});
    widen({ui_->irisSpinBox, ui_->exposureTimeSpinBox, ui_->minLEDBox});
    // Room for the longer text, so that the buttons stay where they are when Control is pressed.
    setRaw(true);
    widen({ui_->measureButton});
    setRaw(false);
}

void GcpsDialog::setToolTips() {
    const auto explain = [](std::string_view path, std::initializer_list<QWidget*> controls) {
        for (QWidget* control : controls)
            control->setToolTip(VortaQt::settingToolTip(VortaQt::latin1(path)));
    };
    explain(Settings::Iris::path, {ui_->irisSpinBox, ui_->irisSlider});
    explain(Settings::ExposureTime::path, {ui_->exposureTimeSpinBox, ui_->exposureTimeSlider});
    explain(Settings::Brightness::path, {ui_->minLEDBox, ui_->ledCurrentSlider});
}

/// Runs before anything is connected: the iris stays the camera's, whatever the list's first value is.
void GcpsDialog::load() {
    const Settings& settings = controller_.settings();
    const std::uint64_t iris = settings.get<Settings::Iris>().value();
    const auto irisRange = Settings::Iris::range();
    setRangeAndValue(*ui_->irisSpinBox, toInt(irisRange.minimum), toInt(irisRange.maximum), toInt(iris));
    setRangeAndValue(*ui_->irisSlider, toInt(irisRange.minimum), toInt(irisRange.maximum), toInt(iris));

    const auto exposureRange = Settings::ExposureTime::range();
    const int shortestUs = toInt(exposureRange.minimum.count());
    const int longestUs = toInt(exposureRange.maximum.count());
    const int exposureUs = toInt(settings.get<Settings::ExposureTime>().value().count());
    setRangeAndValue(*ui_->exposureTimeSpinBox, shortestUs, longestUs, exposureUs);
    setRangeAndValue(*ui_->exposureTimeSlider, shortestUs, longestUs, exposureUs);

    const auto brightnessRange = Settings::Brightness::range();
    ui_->minLEDBox->setRange(brightnessRange.minimum, brightnessRange.maximum);
    ui_->minLEDBox->setValue(settings.get<Settings::Brightness>().value());
    slotHandleLEDSpinBoxChanged(ui_->minLEDBox->value());

    const auto& preferences = VortaQt::AppSettings::instance();
    irises_->setValues(IrisList::fromStored(preferences.getUnsignedList(irisListKey), irisRange, iris));
    ui_->irisListView->setCurrentIndex(irises_->index(0, 0));
    ui_->checkBoxAlwaysUseMax->setChecked(preferences.getBool(useMaximumKey, false));
}

void GcpsDialog::connectControls() {
    const auto onClick = [this](QPushButton* button, auto slot) { connect(button, &QPushButton::clicked, this, slot); };
    onClick(ui_->irisAddButton, &GcpsDialog::slotAddIrisValue);
    onClick(ui_->irisDeleteButton, &GcpsDialog::slotDeleteIrisValue);
    onClick(ui_->irisClearButton, &GcpsDialog::slotClearIrisValues);
    onClick(ui_->setDefaultButton, &GcpsDialog::slotSetDefault);
    onClick(ui_->saveButton, &GcpsDialog::slotSave);
    onClick(ui_->closeButton, &GcpsDialog::close);
    onClick(ui_->measureButton, &GcpsDialog::slotGrab);
    onClick(ui_->measureHDRButton, &GcpsDialog::slotGrabHdr);
    onClick(ui_->measureLiveButton, &GcpsDialog::slotStartLive);
    onClick(ui_->measureStopButton, &GcpsDialog::slotStopLive);

    const auto spinChanged = QOverload<int>::of(&QSpinBox::valueChanged);
    connect(ui_->irisSpinBox, spinChanged, this, &GcpsDialog::slotHandleIrisValueChanged);
    connect(ui_->irisSpinBox, spinChanged, this, &GcpsDialog::slotHandleIrisSpinBoxChanged);
    connect(ui_->irisSlider, &QSlider::valueChanged, this, &GcpsDialog::slotHandleIrisSliderChanged);
    connect(ui_->exposureTimeSpinBox, spinChanged, this, &GcpsDialog::slotHandleExposureTimeSpinBoxChanged);
    connect(ui_->exposureTimeSlider, &QSlider::valueChanged, this, &GcpsDialog::slotHandleExposureTimeSliderChanged);
    connect(ui_->minLEDBox, QOverload<double>::of(&QDoubleSpinBox::valueChanged), this,
            &GcpsDialog::slotHandleLEDSpinBoxChanged);
    connect(ui_->ledCurrentSlider, &QSlider::valueChanged, this, &GcpsDialog::slotHandleLEDSliderChanged);

    connect(irises_, &QAbstractItemModel::modelReset, this, &GcpsDialog::slotHandleIrisValuesReset);
    connect(ui_->irisListView->selectionModel(), &QItemSelectionModel::currentChanged, this,
            &GcpsDialog::slotHandleIrisIndexChanged);
    // The current row tells nothing new when it is clicked, and yet the user wants its value.
    connect(ui_->irisListView, &QListView::clicked, this, &GcpsDialog::slotHandleIrisIndexChanged);
    const auto* deleteKey =
        new QShortcut(QKeySequence::Delete, ui_->irisListView, nullptr, nullptr, Qt::WidgetShortcut);
    connect(deleteKey, &QShortcut::activated, ui_->irisDeleteButton, &QPushButton::click);

    // They keep the releases of keys to themselves while an arrow key repeats.
    for (QWidget* box : std::initializer_list<QWidget*>{ui_->irisSpinBox, ui_->exposureTimeSpinBox, ui_->minLEDBox})
        box->installEventFilter(this);

    connect(&controller_, &Vorta::VortaInterface::statusChanged, this,
            &GcpsDialog::slotEnableMeasurementControlsFromState);
}

bool GcpsDialog::isHdrPossible() const {
    return irises_->values().size() >= fewestForHdr;
}

void GcpsDialog::slotEnableMeasurementControlsFromState(const Vorta::CameraStatus& status) {
    const bool ready = status.connected && !status.live;
    ui_->measureButton->setEnabled(ready);
    ui_->measureLiveButton->setEnabled(ready);
    ui_->measureHDRButton->setEnabled(ready && isHdrPossible());
    ui_->measureStopButton->setEnabled(status.connected && status.live);
}

void GcpsDialog::updateIrisButtons() {
    const Vorta::CameraStatus& status = controller_.status();
    const int iris = ui_->irisSpinBox->value();
    ui_->irisAddButton->setEnabled(iris < 0 || !IrisList::contains(irises_->values(), IrisList::fromInt(iris)));
    ui_->irisDeleteButton->setEnabled(irises_->values().size() > 1);
    ui_->measureHDRButton->setEnabled(isHdrPossible() && status.connected && !status.live);
}

/// A number that is still being typed counts as typed when a command comes without the focus leaving its box.
void GcpsDialog::takeTypedValues() {
    ui_->irisSpinBox->interpretText();
    ui_->exposureTimeSpinBox->interpretText();
    ui_->minLEDBox->interpretText();
}

Vorta::FrameSpec GcpsDialog::captureRequest() {
    takeTypedValues();
    return {.raw = raw_,
            .live = false,
            .alwaysUseMaxBrightness = ui_->checkBoxAlwaysUseMax->isChecked(),
            .brightness = static_cast<float>(ui_->minLEDBox->value()),
            .exposureTime = std::chrono::microseconds{ui_->exposureTimeSpinBox->value()},
            .iris = IrisList::fromInt(ui_->irisSpinBox->value()),
            .irisHDRValues = irises_->values()};
}

void GcpsDialog::slotGrab() {
    Vorta::FrameSpec spec = captureRequest();
    if (spec.alwaysUseMaxBrightness)
        spec.brightness = static_cast<float>(ui_->minLEDBox->maximum());
    spec.irisHDRValues.clear();
    Q_EMIT measurementTriggered(spec);
}

void GcpsDialog::slotGrabHdr() {
    Q_EMIT measurementTriggered(captureRequest());
}

void GcpsDialog::slotStartLive() {
    Vorta::FrameSpec spec = captureRequest();
    spec.live = true;
    Q_EMIT measurementTriggered(spec);
}

void GcpsDialog::slotStopLive() {
    Q_EMIT stopLiveMeasure();
}

void GcpsDialog::slotAddIrisValue() {
    takeTypedValues();
    irises_->setValues(IrisList::inserted(irises_->values(), IrisList::fromInt(ui_->irisSpinBox->value())));
}

void GcpsDialog::slotDeleteIrisValue() {
    const QModelIndex current = ui_->irisListView->currentIndex();
    if (!current.isValid())
        return;
    IrisList::Values values = irises_->values();
    values.erase(values.begin() + current.row());
    irises_->setValues(std::move(values));
}

void GcpsDialog::slotClearIrisValues() {
    takeTypedValues();
    irises_->setValues({IrisList::fromInt(ui_->irisSpinBox->value())});
}

void GcpsDialog::slotHandleIrisValueChanged(int value) {
    updateIrisButtons();
    Q_EMIT irisValueChanged(value);
}

void GcpsDialog::slotHandleIrisValuesReset() {
    if (irises_->rowCount() > 0)
        ui_->irisListView->setCurrentIndex(irises_->index(0, 0));
    updateIrisButtons();
    Q_EMIT irisCountChanged();
}

void GcpsDialog::slotHandleIrisIndexChanged() {
    const QModelIndex current = ui_->irisListView->currentIndex();
    if (current.isValid())
        ui_->irisSpinBox->setValue(current.data().toInt());
}

void GcpsDialog::slotSetDefault() {
    const Settings defaults;
    const std::uint64_t iris = defaults.get<Settings::Iris>().value();
    irises_->setValues({iris});
    ui_->irisSpinBox->setValue(toInt(iris));
    ui_->exposureTimeSpinBox->setValue(toInt(defaults.get<Settings::ExposureTime>().value().count()));
    ui_->minLEDBox->setValue(defaults.get<Settings::Brightness>().value());
    ui_->checkBoxAlwaysUseMax->setChecked(false);
}

void GcpsDialog::slotSave() {
    takeTypedValues();
    Settings settings = controller_.settings();
    settings.set(Settings::Iris(IrisList::fromInt(ui_->irisSpinBox->value())));
    settings.set(Settings::ExposureTime(std::chrono::microseconds{ui_->exposureTimeSpinBox->value()}));
    settings.set(Settings::Brightness(ui_->minLEDBox->value()));
    auto& preferences = VortaQt::AppSettings::instance();
    preferences.setUnsignedList(irisListKey, irises_->values());
    preferences.setBool(useMaximumKey, ui_->checkBoxAlwaysUseMax->isChecked());
    preferences.saveCameraSettings(settings);
}

void GcpsDialog::slotHandleLEDSliderChanged(int value) {
    const QSignalBlocker blocker(ui_->minLEDBox);
    ui_->minLEDBox->setValue(scaleOf(*ui_->minLEDBox, *ui_->ledCurrentSlider).toSpin(value));
}

void GcpsDialog::slotHandleLEDSpinBoxChanged(double value) {
    const QSignalBlocker blocker(ui_->ledCurrentSlider);
    ui_->ledCurrentSlider->setValue(scaleOf(*ui_->minLEDBox, *ui_->ledCurrentSlider).toSlider(value));
}

void GcpsDialog::slotHandleExposureTimeSliderChanged(int value) {
    ui_->exposureTimeSpinBox->setValue(value);
}

void GcpsDialog::slotHandleExposureTimeSpinBoxChanged(int value) {
    ui_->exposureTimeSlider->setValue(value);
}

void GcpsDialog::slotHandleIrisSliderChanged(int value) {
    ui_->irisSpinBox->setValue(value);
}

void GcpsDialog::slotHandleIrisSpinBoxChanged(int value) {
    const QSignalBlocker blocker(ui_->irisSlider);
    ui_->irisSlider->setValue(value);
}

void GcpsDialog::setRaw(bool raw) {
    if (raw == raw_)
        return; // a held key may repeat itself
    raw_ = raw;
    const QString text = ui_->measureButton->text();
    ui_->measureButton->setText(raw ? QStringLiteral("%1 Raw").arg(text) : text.section(QLatin1Char(' '), 0, 0));
}

void GcpsDialog::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Control)
        setRaw(true);
    else
        QDialog::keyPressEvent(event);
}

void GcpsDialog::keyReleaseEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Control)
        setRaw(false);
    else
        QDialog::keyReleaseEvent(event);
}

bool GcpsDialog::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::KeyRelease && static_cast<QKeyEvent*>(event)->key() == Qt::Key_Control)
        setRaw(false);
    return QDialog::eventFilter(watched, event);
}

void GcpsDialog::changeEvent(QEvent* event) {
    // Another window gets the release of the key.
    if (event->type() == QEvent::ActivationChange && !isActiveWindow())
        setRaw(false);
    QDialog::changeEvent(event);
}
