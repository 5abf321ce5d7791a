#include "views/preferences_window.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QListWidget>
#include <QPointer>
#include <QPushButton>
#include <QScopedValueRollback>
#include <QSpinBox>
#include <QTabWidget>
#include <QToolButton>
#include <QVBoxLayout>

#include "foundation/alerts.h"
#include "foundation/localization.h"
#include "views/labels.h"
#include "views/picture_well.h"
#include "views/qt_text.h"
#include "views/theme.h"

namespace morvane::views {

namespace {

constexpr QSize wellSizes[]{{220, 130}, {104, 60}, {104, 60}};

QVBoxLayout* pageLayout(QWidget* page) {
    auto* layout = new QVBoxLayout(page);
    layout->setContentsMargins(theme::margin, theme::margin, theme::margin, theme::margin);
    layout->setSpacing(theme::gap);
    return layout;
}

/// A label above what it names.
QVBoxLayout* named(const QString& name, QWidget* widget) {
    auto* column = new QVBoxLayout;
    column->setSpacing(theme::gap / 2);
    column->addWidget(widget);
    auto* label = new HintLabel(name);
    label->setAlignment(Qt::AlignHCenter);
    column->addWidget(label);
    column->addStretch();
    return column;
}

QToolButton* smallButton(const char* icon, const QString& name) {
    auto* button = new QToolButton;
    button->setIcon(theme::icon(icon));
    button->setToolTip(name);
    button->setAccessibleName(name);
    button->setFocusPolicy(Qt::StrongFocus);
    return button;
}

}  // namespace

PreferencesWindow::PreferencesWindow(AppDelegate& app, QWidget* parent)
    : QDialog(parent), app_(app), tabs_(new QTabWidget) {
    setWindowTitle(shown("Preferences"));
    tabs_->setAccessibleName(windowTitle());
    tabs_->addTab(general(), shown("General"));
    tabs_->addTab(appearance(), shown("Appearance"));
    tabs_->addTab(appsFolders(), shown("Apps Folders"));
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close);
    buttons->button(QDialogButtonBox::Close)->setText(shown("Close"));
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* all = new QVBoxLayout(this);
    all->addWidget(tabs_);
    all->addWidget(buttons);
    refresh();
}

void PreferencesWindow::showAppsFolders() {
    tabs_->setCurrentIndex(tabs_->count() - 1);
}

QCheckBox* PreferencesWindow::checkBox(const QString& title, void (NSPreferencesView::*change)(bool)) {
    auto* box = new QCheckBox(title);
    connect(box, &QCheckBox::clicked, this, [this, change](bool on) { (app_.preferences().*change)(on); });
    return box;
}

QSpinBox* PreferencesWindow::sizeBox(const QString& name, const QString& unit,
                                     void (NSPreferencesView::*change)(std::int64_t)) {
    auto* box = new QSpinBox;
    box->setAccessibleName(name);
    box->setSuffix(unit);
    box->setMinimumWidth(7 * theme::margin);
    connect(box, &QSpinBox::valueChanged, this, [this, change](int value) {
        if (!isFilling_) (app_.preferences().*change)(value);
    });
    return box;
}

// ---- The tabs

QWidget* PreferencesWindow::general() {
    auto* page = new QWidget;
    auto* layout = pageLayout(page);
    updates_ = checkBox(shown("Look for a newer version once a day"),
                        &NSPreferencesView::atomaticallyCheckForUpdates);
    crashReports_ = checkBox(shown("Send reports of crashes"), &NSPreferencesView::selectedAutomaticCrashLog);
    developer_ = checkBox(shown("Show ports that are meant for developers"),
                          &NSPreferencesView::selectedDeveloperMode);
    for (QCheckBox* box : {updates_, crashReports_, developer_}) layout->addWidget(box);
    layout->addSpacing(theme::gap);

    auto* form = new QFormLayout;
    const QString ofDescriptions = shown("Size of descriptions:"),
                  ofPages = shown("Larger text on web pages:");
    fontSize_ = sizeBox(ofDescriptions, shown(" points"), &NSPreferencesView::changeFontSizeValue);
    webZoom_ = sizeBox(ofPages, shown(" steps"), &NSPreferencesView::changeWebViewZoom);
    form->addRow(ofDescriptions, fontSize_);
    form->addRow(ofPages, webZoom_);
    form->setFieldGrowthPolicy(QFormLayout::FieldsStayAtSizeHint);
    layout->addLayout(form);
    layout->addStretch();
    return page;
}

QWidget* PreferencesWindow::appearance() {
    auto* page = new QWidget;
    auto* layout = pageLayout(page);
    scheme_ = new QComboBox;
    scheme_->addItems({shown("As the desktop"), shown("Light"), shown("Dark")});
    scheme_->setAccessibleName(shown("Colours of windows:"));
    connect(scheme_, &QComboBox::activated, this,
            [this](int index) { app_.preferences().chooseAppearance(static_cast<Appearance>(index)); });
    auto* form = new QFormLayout;
    form->setFieldGrowthPolicy(QFormLayout::FieldsStayAtSizeHint);
    form->addRow(shown("Windows:"), scheme_);
    layout->addLayout(form);
    shelf_ = checkBox(shown("No shelf under the grid"), &NSPreferencesView::hideDockInGridViewAction);
    layout->addWidget(shelf_);
    menu_ = checkBox(shown("Games in the desktop's menu"), &NSPreferencesView::showGamesInMenu);
    layout->addWidget(menu_);
    layout->addSpacing(theme::gap);

    layout->addWidget(new HeadingLabel(shown("Theme"), nullptr, 1.0));
    auto* row = new QHBoxLayout;
    row->setSpacing(theme::margin);
    const QString names[]{shown("Window background"), shown("Action buttons"), shown("Bottom button")};
    for (std::size_t number = 0; number < wells_.size(); ++number) {
        auto* well = wells_[number] = new PictureWell(names[number], wellSizes[number]);
        connect(well, &PictureWell::pictureDropped, this, [this, number](const ImageData& picture) {
            if (app_.preferences().putThemeImage(static_cast<ThemeImage>(number), picture)) return;
            MVAlert::showAlertErrorMessage(localized("That is no picture that can be read."));
        });
        row->addLayout(named(names[number], well));
    }
    row->addStretch();
    layout->addLayout(row);
    layout->addWidget(new HintLabel(shown("Drop a picture on a field, or click it to choose one.")));

    auto* buttons = new QHBoxLayout;
    apply_ = new QPushButton(shown("Apply Theme"));
    auto* reset = new QPushButton(shown("Reset Theme"));
    for (QPushButton* button : {apply_, reset}) button->setAutoDefault(false);
    connect(apply_, &QPushButton::clicked, this, &PreferencesWindow::applyTheme);
    connect(reset, &QPushButton::clicked, this, [this] { app_.preferences().resetTheme(); });
    buttons->addWidget(apply_);
    buttons->addWidget(reset);
    buttons->addStretch();
    layout->addLayout(buttons);
    layout->addStretch();
    return page;
}

QWidget* PreferencesWindow::appsFolders() {
    auto* page = new QWidget;
    auto* layout = pageLayout(page);
    layout->addWidget(
        new HintLabel(shown("Games are looked for in these folders. New ports go to the first that can be "
                            "written to.")));
    folders_ = new QListWidget;
    folders_->setAccessibleName(shown("Apps Folders"));
    folders_->setSelectionMode(QAbstractItemView::ExtendedSelection);
    folders_->setTextElideMode(Qt::ElideMiddle);
    folders_->installEventFilter(this);
    connect(folders_, &QListWidget::itemSelectionChanged, this, &PreferencesWindow::selectFolders);
    const auto edit = [this] {
        const auto& selected = app_.appsFolders().selection();
        if (!selected.empty()) app_.appsFolders().editRow(selected.front());
    };
    connect(folders_, &QListWidget::itemActivated, this, edit);
    layout->addWidget(folders_, 1);

    auto* row = new QHBoxLayout;
    auto* add = smallButton("add", shown("Add a folder"));
    auto* remove = smallButton("remove", shown("Remove the folder from this list"));
    connect(add, &QToolButton::clicked, this, [this] { app_.appsFolders().addRow(); });
    connect(remove, &QToolButton::clicked, this, [this] { app_.appsFolders().removeSelectedRows(); });
    changeFolder_ = new QPushButton(shown("Change..."));
    auto* reset = new QPushButton(shown("Reset Local Apps..."));
    for (QPushButton* button : {changeFolder_, reset}) button->setAutoDefault(false);
    connect(changeFolder_, &QPushButton::clicked, this, edit);
    connect(reset, &QPushButton::clicked, this, [this] { app_.appsFolders().resetLocalApps(); });
    row->addWidget(add);
    row->addWidget(remove);
    row->addWidget(changeFolder_);
    row->addStretch();
    row->addWidget(reset);
    layout->addLayout(row);
    savesByItself_ = new QCheckBox(shown("Automatic Folder Save"));
    savesByItself_->setToolTip(shown("New ports go to the first folder without a question"));
    connect(savesByItself_, &QCheckBox::clicked, this,
            [this](bool on) { app_.appsFolders().setSavesAutomatically(on); });
    layout->addWidget(savesByItself_);
    return page;
}

// ---- What they show

void PreferencesWindow::refresh() {
    const QScopedValueRollback filling(isFilling_, true);
    const NSPreferencesView::Shown& now = app_.preferences().shown();
    updates_->setChecked(now.checksForUpdates);
    crashReports_->setChecked(now.sendsCrashReports);
    developer_->setChecked(now.developerMode);
    shelf_->setChecked(now.hidesDock);
    menu_->setChecked(now.showsGamesInMenu);
    scheme_->setCurrentIndex(static_cast<int>(now.appearance));
    for (const auto& [box, stepper] :
         {std::pair(fontSize_, &now.descriptionFontSize), {webZoom_, &now.webViewZoom}}) {
        box->setRange(static_cast<int>(stepper->least), static_cast<int>(stepper->most));
        box->setValue(static_cast<int>(stepper->value));
    }
    for (std::size_t number = 0; number < wells_.size(); ++number)
        wells_[number]->setPicture(now.themeImages[number]);
    showFolders();
}

void PreferencesWindow::showFolders() {
    NSAppsFoldersList& list = app_.appsFolders();
    savesByItself_->setChecked(NSAppsFoldersList::savesAutomatically());
    QStringList rows;
    for (const std::string& folder : list.rows()) rows.append(literalLine(folder));
    QStringList before;
    for (int row = 0; row < folders_->count(); ++row) before.append(folders_->item(row)->text());
    if (rows != before) {
        folders_->clear();
        folders_->addItems(rows);
        for (int row = 0; row < folders_->count(); ++row) {
            folders_->item(row)->setIcon(theme::icon("folder"));
            folders_->item(row)->setToolTip(plainToolTip(list.rows()[static_cast<std::size_t>(row)]));
        }
    }
    std::vector<bool> isSelected(list.rows().size());
    for (const std::size_t row : list.selection()) isSelected[row] = true;
    for (int row = 0; row < folders_->count(); ++row)
        folders_->item(row)->setSelected(isSelected[static_cast<std::size_t>(row)]);
    changeFolder_->setEnabled(!list.selection().empty());
}

void PreferencesWindow::selectFolders() {
    if (isFilling_) return;
    std::vector<std::size_t> rows;
    for (const QModelIndex& index : folders_->selectionModel()->selectedRows())
        rows.push_back(static_cast<std::size_t>(index.row()));
    app_.appsFolders().select(rows);
}

bool PreferencesWindow::eventFilter(QObject* watched, QEvent* event) {
    if (watched != folders_ || event->type() != QEvent::KeyPress) return QDialog::eventFilter(watched, event);
    const auto* key = static_cast<QKeyEvent*>(event);
    constexpr char32_t deleteCharacter = 127;
    constexpr int equalsKey = 24, minusKey = 27;
    KeyPress press{.command = key->modifiers().testFlag(Qt::ControlModifier)};
    if (key->key() == Qt::Key_Delete) press.character = deleteCharacter;
    if (key->key() == Qt::Key_Equal || key->key() == Qt::Key_Plus) press.keyCode = equalsKey;
    if (key->key() == Qt::Key_Minus) press.keyCode = minusKey;
    return app_.appsFolders().keyDown(press, false) || QDialog::eventFilter(watched, event);
}

void PreferencesWindow::applyTheme() {
    apply_->setEnabled(false);
    NSPreferencesView::applyNewTheme(app_.preferences().shown().themeImages,
                                     [window = QPointer<PreferencesWindow>(this)](bool) {
                                         if (window) window->apply_->setEnabled(true);
                                     });
}

}  // namespace morvane::views
