#include "views/properties_window.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPointer>
#include <QPushButton>
#include <QRadioButton>
#include <QScopedValueRollback>
#include <QTabWidget>
#include <QTextEdit>
#include <QToolButton>
#include <QVBoxLayout>
#include <map>
#include <utility>

#include "foundation/alerts.h"
#include "foundation/localization.h"
#include "platform/utf8.h"
#include "views/labels.h"
#include "views/picture_well.h"
#include "views/qt_text.h"
#include "views/styled_view.h"
#include "views/theme.h"

namespace morvane::views {

namespace {

constexpr QSize iconSize(128, 128);
constexpr int fieldWidth = 360;

QVBoxLayout* pageLayout(QWidget* page) {
    auto* layout = new QVBoxLayout(page);
    layout->setContentsMargins(theme::margin, theme::margin, theme::margin, theme::margin);
    layout->setSpacing(theme::gap);
    return layout;
}

}  // namespace

PropertiesWindow::PropertiesWindow(std::shared_ptr<NSPropertiesWindow> properties, QWidget* parent)
    : QDialog(parent), properties_(std::move(properties)), tabs_(new QTabWidget) {
    tabs_->addTab(general(), shown("General"));
    tabs_->addTab(description(), shown("Description"));
    tabs_->addTab(options(), shown("Options"));
    tabs_->addTab(launch(), shown("Launch"));
    save_ = new QPushButton(shown("Save"));
    save_->setObjectName("save");
    save_->setDefault(true);
    close_ = new QPushButton(shown("Cancel"));
    connect(save_, &QPushButton::clicked, this, &PropertiesWindow::save);
    connect(close_, &QPushButton::clicked, this, &PropertiesWindow::closeRequested);
    saving_ = new HintLabel(shown("Saving..."));

    auto* buttons = new QHBoxLayout;
    buttons->addWidget(saving_, 1);
    buttons->addStretch();
    buttons->addWidget(close_);
    buttons->addWidget(save_);
    auto* all = new QVBoxLayout(this);
    all->addWidget(tabs_);
    all->addLayout(buttons);
    showDescription();
    refresh();
    name_->setFocus();
}

QLineEdit* PropertiesWindow::field(const QString& name, bool (Properties::*type)(const std::string&)) {
    auto* line = new QLineEdit;
    line->setAccessibleName(name);
    line->setMinimumWidth(fieldWidth);
    connect(line, &QLineEdit::textEdited, this,
            [this, type](const QString& text) { ((*properties_).*type)(fromQt(text)); });
    return line;
}

QCheckBox* PropertiesWindow::checkBox(const QString& title, bool (Properties::*change)(bool)) {
    auto* box = new QCheckBox(title);
    connect(box, &QCheckBox::clicked, this, [this, change](bool on) { ((*properties_).*change)(on); });
    return box;
}

// ---- The tabs

QWidget* PropertiesWindow::general() {
    auto* page = new QWidget;
    auto* columns = new QHBoxLayout(page);
    columns->setContentsMargins(theme::margin, theme::margin, theme::margin, theme::margin);
    columns->setSpacing(theme::margin);
    icon_ = new PictureWell(shown("Icon"), iconSize);
    icon_->setCanBeEmptied(true);
    connect(icon_, &PictureWell::pictureDropped, this, [this](const ImageData& picture) {
        if (!properties_->changeIcon(picture))
            MVAlert::showAlertErrorMessage(localized("That is no picture that can be read."));
    });
    connect(icon_, &PictureWell::pictureRemoved, this, [this] { properties_->changeIcon(std::nullopt); });
    columns->addWidget(icon_, 0, Qt::AlignTop);

    auto* form = new QFormLayout;
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    form->setVerticalSpacing(theme::gap);
    name_ = field(shown("Name:"), &Properties::typeName);
    version_ = field(shown("Version:"), &Properties::typeVersion);
    run_ = field(shown("Run:"), &Properties::typeRunCommand);
    form->addRow(shown("Name:"), name_);
    form->addRow(shown("Version:"), version_);
    form->addRow(shown("Run:"), run_);
    chooseRun_ = new QPushButton(shown("Choose..."));
    chooseRun_->setAutoDefault(false);
    chooseRun_->setToolTip(shown("Select the new main EXE"));
    connect(chooseRun_, &QPushButton::clicked, this, [kept = properties_] { kept->searchNewRunPath(); });
    form->addRow(QString(), chooseRun_);
    form->setAlignment(chooseRun_, Qt::AlignLeft);
    auto* place = new HintLabel(literal(properties_->wrapperPath()));
    form->addRow(shown("Place:"), place);
    columns->addLayout(form, 1);
    return page;
}

QAbstractButton* PropertiesWindow::formatButton(const QString& title, const QString& name) {
    auto* button = new QToolButton;
    button->setText(title);
    button->setCheckable(true);
    button->setToolTip(name);
    button->setAccessibleName(name);
    button->setMinimumWidth(2 * theme::margin);
    button->setFocusPolicy(Qt::TabFocus);
    return button;
}

QWidget* PropertiesWindow::description() {
    auto* page = new QWidget;
    auto* layout = pageLayout(page);
    description_ = new QTextEdit;
    description_->setAccessibleName(shown("Description"));
    description_->setTabChangesFocus(true);
    // What is pasted brings its words along, and not its looks.
    description_->setAcceptRichText(false);
    bold_ = formatButton("B", shown("Bold"));
    QFont bold = bold_->font();
    bold.setBold(true);
    bold_->setFont(bold);
    bold_->setShortcut(QKeySequence::Bold);
    italic_ = formatButton("I", shown("Italic"));
    QFont italic = italic_->font();
    italic.setItalic(true);
    italic_->setFont(italic);
    italic_->setShortcut(QKeySequence::Italic);
    connect(bold_, &QAbstractButton::clicked, this,
            [this](bool on) { description_->setFontWeight(on ? QFont::Bold : QFont::Normal); });
    connect(italic_, &QAbstractButton::clicked, this, [this](bool on) { description_->setFontItalic(on); });
    connect(description_, &QTextEdit::currentCharFormatChanged, this, [this](const QTextCharFormat& format) {
        bold_->setChecked(format.fontWeight() >= QFont::DemiBold);
        italic_->setChecked(format.fontItalic());
    });
    connect(description_, &QTextEdit::textChanged, this, [this] {
        if (!isFilling_) properties_->editDescription(styledTextOf(*description_->document()));
    });
    auto* row = new QHBoxLayout;
    row->addWidget(bold_);
    row->addWidget(italic_);
    row->addStretch();
    layout->addLayout(row);
    layout->addWidget(description_, 1);
    return page;
}

QWidget* PropertiesWindow::options() {
    auto* page = new QWidget;
    auto* layout = pageLayout(page);
    auto* group = new QGroupBox(shown("Screen mode"));
    screenMode_ = group;
    auto* modes = new QVBoxLayout(group);
    const QString titles[]{shown("Full screen, in a resolution of its own"), shown("In a window"),
                           shown("As the port says")};
    // The port's own choice stands first.
    for (const auto type : {Properties::WindowType::ofPort, Properties::WindowType::fakeFullScreen,
                            Properties::WindowType::fakeWindowed}) {
        const auto number = static_cast<std::size_t>(type);
        auto* button = windowTypes_[number] = new QRadioButton(titles[number]);
        connect(button, &QRadioButton::clicked, this, [this, type] { properties_->chooseWindowType(type); });
        modes->addWidget(button);
    }
    layout->addWidget(group);
    layout->addSpacing(theme::gap);
    systemTray_ = checkBox(shown("Wine system tray"), &Properties::switchWineSystemTray);
    helvetica_ = checkBox(shown("Helvetica Neue font"), &Properties::switchHelveticaNeueFont);
    highQuality_ = checkBox(shown("High quality mode"), &Properties::switchHighQualityMode);
    functionKeys_ =
        checkBox(shown("F1 to F12 as function keys while it runs"), &Properties::switchFunctionKeys);
    for (QCheckBox* box : {systemTray_, helvetica_, highQuality_, functionKeys_}) layout->addWidget(box);
    layout->addStretch();
    return page;
}

QWidget* PropertiesWindow::launch() {
    auto* page = new QWidget;
    auto* layout = pageLayout(page);
    const auto label = [&](const QString& text, QWidget* field) {
        auto* title = new QLabel(text);
        title->setBuddy(field);
        field->setAccessibleName(text);
        layout->addWidget(title);
        layout->addWidget(field);
    };
    before_ = new QLineEdit;
    before_->setObjectName("before");
    before_->setPlaceholderText(QStringLiteral("gamescope -f --"));
    label(shown("Command before the program:"), before_);
    connect(before_, &QLineEdit::textEdited, this, [this](const QString& text) {
        const auto taken = properties_->typeCommandBefore(fromQt(text));
        launchFailure_->setText(taken ? QString() : literal(taken.error().message()));
    });
    layout->addSpacing(theme::gap);
    variables_ = new QPlainTextEdit;
    variables_->setTabChangesFocus(true);
    variables_->setPlaceholderText(QStringLiteral("DXVK_HUD=fps"));
    label(shown("Environment variables, NAME=VALUE, one a line:"), variables_);
    connect(variables_, &QPlainTextEdit::textChanged, this, [this] {
        if (!isFilling_) takeVariables();
    });
    launchFailure_ = new HintLabel(QString());
    layout->addWidget(launchFailure_);
    sandbox_ = new QComboBox;
    sandbox_->setObjectName("sandbox");
    // In the order of the modes.
    sandbox_->addItems({shown("None: its programs may read all your files"),
                        shown("They see none of your files but their own"),
                        shown("The same, and no network")});
    label(shown("Sandbox:"), sandbox_);
    connect(sandbox_, &QComboBox::activated, this,
            [this](int mode) { properties_->chooseSandbox(static_cast<Sandbox>(mode)); });
    return page;
}

void PropertiesWindow::takeVariables() {
    std::map<std::string, std::string> wanted;
    QString failure;
    const auto lines = variables_->toPlainText().split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    for (const QString& line : lines) {
        const auto sign = line.indexOf(QLatin1Char('='));
        if (sign > 0) {
            wanted[fromQt(line.left(sign).trimmed())] = fromQt(line.mid(sign + 1));
        } else {
            failure = shown("\"%@\" is no NAME=VALUE.", {fromQt(line)});
        }
    }
    const auto set = [&](const std::string& name, const std::optional<std::string>& value) {
        const auto done = properties_->setVariable(name, value);
        if (!done) failure = literal(done.error().message());
    };
    const auto before = properties_->shown().launch.environment;
    for (const auto& [name, value] : before) {
        if (!wanted.contains(name)) set(name, std::nullopt);
    }
    for (const auto& [name, value] : wanted) {
        const auto known = before.find(name);
        if (known == before.end() || known->second != value) set(name, value);
    }
    launchFailure_->setText(failure);
}

// ---- What they show

void PropertiesWindow::showVariables() {
    QStringList lines;
    for (const auto& [name, value] : properties_->shown().launch.environment)
        lines << toQt(name) + QLatin1Char('=') + toQt(value);
    variables_->setPlainText(lines.join(QLatin1Char('\n')));
}

void PropertiesWindow::showDescription() {
    const QScopedValueRollback filling(isFilling_, true);
    fillDocument(*description_->document(), properties_->shown().description);
}

void PropertiesWindow::refresh() {
    const QScopedValueRollback filling(isFilling_, true);
    const Properties::Shown& now = properties_->shown();
    const bool isSaving = properties_->isSaving();
    setWindowTitle(shown("Properties of %@", {harmless(now.name.text)}));
    tabs_->setAccessibleName(windowTitle());
    icon_->setPicture(now.icon);
    icon_->setEnabled(!isSaving);
    for (const auto& [line, field] :
         {std::pair(name_, &now.name), {version_, &now.version}, {run_, &now.run}}) {
        // The cursor stays where the user types.
        if (fromQt(line->text()) != field->text) line->setText(toQt(field->text));
        line->setEnabled(field->enabled && !isSaving);
    }
    chooseRun_->setEnabled(now.run.enabled && !isSaving);
    if (styledTextOf(*description_->document()) != now.description) showDescription();
    description_->setEnabled(!isSaving);
    if (fromQt(before_->text()) != now.launch.before.value_or("") && !before_->hasFocus())
        before_->setText(toQt(now.launch.before.value_or("")));
    if (!variables_->hasFocus()) showVariables();
    for (QWidget* field : {static_cast<QWidget*>(before_), static_cast<QWidget*>(variables_)})
        field->setEnabled(now.launchEnabled && !isSaving);
    sandbox_->setCurrentIndex(static_cast<int>(now.sandbox));
    sandbox_->setEnabled(now.sandboxEnabled && !isSaving);
    screenMode_->setEnabled(now.windowTypeEnabled && !isSaving);
    windowTypes_[static_cast<std::size_t>(now.windowType)]->setChecked(true);
    for (const auto& [box, state] : {std::pair(systemTray_, &now.wineSystemTray),
                                     {helvetica_, &now.helveticaNeueFont},
                                     {highQuality_, &now.highQualityMode},
                                     {functionKeys_, &now.functionKeys}}) {
        box->setChecked(state->on);
        box->setEnabled(state->enabled && !isSaving);
    }
    saving_->setVisible(isSaving);
    save_->setEnabled(!isSaving && properties_->isChanged());
}

void PropertiesWindow::save() {
    properties_->save([window = QPointer<PropertiesWindow>(this)](bool saved) {
        if (window && saved) Q_EMIT window->closeRequested();
    });
}

void PropertiesWindow::reject() {
    switch (properties_->closing()) {
        case Properties::Closing::save:
            return save();
        case Properties::Closing::discard:
            return Q_EMIT closeRequested();
        case Properties::Closing::stay:
            break;
    }
}

}  // namespace morvane::views
