#include "settings/settingswidget.h"

#include "settings/settingstreemodel.h"
#include "settings/settingtooltipdelegate.h"
#include "ui_SettingsWidget.h"

#include <QEvent>
#include <QHeaderView>
#include <QScrollBar>

#include <algorithm>

namespace VortaQt {

namespace {

/// The index at the same place of another model.
QModelIndex counterpart(const QModelIndex& index, const QAbstractItemModel& model) {
    return index.isValid() ? model.index(index.row(), index.column(), counterpart(index.parent(), model))
                           : QModelIndex{};
}

/// Lets the values have the rest of the view, or what they need where that is less: they can be scrolled to then.
void fitValues(QTreeView& view) {
    const QAbstractItemView& column = view; // where this is public
    const int needed = std::max(column.sizeHintForColumn(1), view.header()->sectionSizeHint(1));
    const bool fits = needed <= view.viewport()->width() - view.columnWidth(0);
    view.header()->setStretchLastSection(fits);
    if (!fits)
        view.setColumnWidth(1, needed);
}

/// Replaces the view's model by one of the same shape; the row that the user stands on and what is in sight stay.
void exchangeModel(QTreeView& view, QAbstractItemModel& model) {
    const QModelIndex current = counterpart(view.currentIndex(), model);
    const int left = view.horizontalScrollBar()->value();
    const int top = view.verticalScrollBar()->value();
    view.setModel(&model);
    view.expandAll();
    view.resizeColumnToContents(0);
    fitValues(view);
    if (current.isValid())
        view.setCurrentIndex(current);
    view.horizontalScrollBar()->setValue(left);
    view.verticalScrollBar()->setValue(top);
}

} // namespace

SettingsWidget::SettingsWidget(QWidget* parent)
    : QWidget(parent),
      form_([this] {
          auto form = std::make_unique<Ui::SettingsWidget>();
          form->setupUi(this);
          return form;
      }()),
      camera_{.tab = 0, .view = *form_->treeViewCamera, .model = {}, .settings = {}},
      frame_{.tab = 1, .view = *form_->treeViewMeasurement, .model = {}, .settings = {}} {
    for (const Page* page : {&camera_, &frame_}) {
        page->view.setItemDelegate(new SettingToolTipDelegate(&page->view));
        page->view.viewport()->installEventFilter(this);
    }
    connect(form_->applyButton, &QPushButton::clicked, this, [this] { Q_EMIT settingsApplied(frame_.settings); });
}

SettingsWidget::~SettingsWidget() = default;

bool SettingsWidget::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::Resize)
        for (const Page* page : {&camera_, &frame_})
            if (page->model && watched == page->view.viewport())
                fitValues(page->view);
    return QWidget::eventFilter(watched, event);
}

void SettingsWidget::setCameraSettings(const Vorta::Settings& settings) {
    fill(camera_, settings);
}

void SettingsWidget::setFrameSettings(const Vorta::Settings& settings) {
    fill(frame_, settings);
}

void SettingsWidget::fill(Page& page, const Vorta::Settings& settings) {
    page.settings = settings;
    auto model = std::make_unique<SettingsTreeModel>(settings);
    form_->tabWidget->setCurrentIndex(page.tab);
    exchangeModel(page.view, *model);
    page.model = std::move(model); // the old one goes now that no view shows it
}

} // namespace VortaQt
