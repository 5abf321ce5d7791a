#include "views/dialogs.h"

#include <QApplication>
#include <QComboBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPainter>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QToolButton>
#include <QVBoxLayout>

#include "foundation/alerts.h"
#include "foundation/localization.h"
#include "views/labels.h"
#include "views/pixmaps.h"
#include "views/qt_text.h"
#include "views/styled_view.h"
#include "views/theme.h"

namespace morvane::views {

namespace {

constexpr int iconSize = 56, textWidth = 420, longTextWidth = 640, longTextHeight = 340;
constexpr int picturesInARow = 3, pictureSize = 80;

/// The part of the screen that a text may take before it scrolls.
int mostHeightOn(const QWidget& window) {
    return window.screen()->availableGeometry().height() * 2 / 5;
}

QPixmap pictureOfButton(const std::string& path, double scale) {
    // The root of the disk has a picture of the platform's own.
    if (path == "/")
        return theme::symbol("drive", pictureSize, QGuiApplication::palette().color(QPalette::WindowText),
                             scale);
    const QSize bound(pictureSize, pictureSize);
    const auto image = imageOfFile(path, (QSizeF(bound) * scale).toSize());
    return image ? fittingPixmap(*image, bound, scale) : QPixmap();
}

/// A picture with its title below, to be pressed.
class PictureButton : public QToolButton {
  public:
    explicit PictureButton(const QPixmap& picture) {
        setIcon(QIcon(picture));
        setIconSize({pictureSize, pictureSize});
        setToolButtonStyle(Qt::ToolButtonTextUnderIcon);
        setAutoRaise(true);
        setFocusPolicy(Qt::StrongFocus);
        setMinimumWidth(pictureSize + 3 * theme::gap);
    }

  protected:
    // The style shows no focus on buttons of tools.
    void paintEvent(QPaintEvent* event) override {
        QToolButton::paintEvent(event);
        if (!hasFocus()) return;
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(QPen(theme::accent(), 2));
        painter.drawRoundedRect(rect().adjusted(1, 1, -1, -1), theme::radius, theme::radius);
    }
};

/// As high as its lines, but no higher than the bound: beyond that it scrolls.
QWidget* scrollingWhenLong(BodyLabel* label, int width, int mostHeight) {
    label->setMinimumWidth(width);
    const int height = label->heightForWidth(width);
    if (height <= mostHeight) return label;
    auto* area = new QScrollArea;
    area->setWidget(label);
    area->setWidgetResizable(true);
    area->setFrameShape(QFrame::NoFrame);
    area->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    area->setMinimumSize(width + theme::margin, mostHeight);
    return area;
}

QWidget* longTextView(const std::string& text) {
    auto* view = new QPlainTextEdit(literal(text));
    view->setReadOnly(true);
    view->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    return view;
}

QWidget* pictureView(const std::string& path, const QWidget& window) {
    constexpr QSize mostPixels(8192, 8192);
    const auto image = imageOfFile(path, mostPixels);
    if (!image) return nullptr;
    QPixmap pixmap = QPixmap::fromImage(*image);
    pixmap.setDevicePixelRatio(window.devicePixelRatioF());
    auto* label = new QLabel;
    label->setPixmap(pixmap);
    label->setAlignment(Qt::AlignCenter);
    const QSize room = window.screen()->availableGeometry().size() * 3 / 5;
    const QSizeF size = pixmap.deviceIndependentSize();
    if (size.width() <= room.width() && size.height() <= room.height()) return label;
    auto* area = new QScrollArea;
    area->setWidget(label);
    area->setAlignment(Qt::AlignCenter);
    area->setMinimumSize(size.toSize().boundedTo(room));
    return area;
}

}  // namespace

DialogWindow::DialogWindow(const Dialog& dialog, QWidget* parent)
    : QDialog(parent), dialog_(dialog), pressed_(dialog.defaultButton) {
    setWindowTitle(dialog.title.empty() ? QApplication::applicationDisplayName() : literalLine(dialog.title));
    setAccessibleName(literalLine(dialog.title));
    setAccessibleDescription(literal(dialog.text));

    auto* columns = new QHBoxLayout;
    columns->setSpacing(theme::margin);
    columns->addWidget(iconLabel(), 0, Qt::AlignTop);
    auto* column = new QVBoxLayout;
    column->setSpacing(theme::gap);
    addTexts(*column);
    addAccessory(*column);
    columns->addLayout(column, 1);

    auto* all = new QVBoxLayout(this);
    all->setContentsMargins(theme::margin + theme::gap, theme::margin + theme::gap,
                            theme::margin + theme::gap, theme::margin);
    all->setSpacing(theme::margin);
    all->addLayout(columns, 1);
    if (!dialog_.buttonPictures.empty()) addPictureButtons(*column);
    addButtons(*all);
    const bool growsWithWindow = std::holds_alternative<LongText>(dialog_.accessory) ||
                                 std::holds_alternative<StyledText>(dialog_.accessory);
    if (!growsWithWindow) all->setSizeConstraint(QLayout::SetFixedSize);
    takeFocus();
}

void DialogWindow::takeFocus() {
    for (QWidget* field :
         {static_cast<QWidget*>(line_), static_cast<QWidget*>(lines_), static_cast<QWidget*>(box_)}) {
        if (field != nullptr) return field->setFocus();
    }
    if (dialog_.defaultButton < buttons_.size()) buttons_[dialog_.defaultButton]->setFocus();
}

QWidget* DialogWindow::iconLabel() {
    auto* label = new QLabel;
    const double scale = devicePixelRatioF();
    const QSize bound(iconSize, iconSize);
    if (dialog_.icon == Dialog::Icon::picture) {
        const auto image = imageOfFile(dialog_.iconPath, (QSizeF(bound) * scale).toSize());
        if (image) label->setPixmap(fittingPixmap(*image, bound, scale));
    } else if (dialog_.icon == Dialog::Icon::stop) {
        label->setPixmap(theme::symbol("error", iconSize, theme::stop(), scale));
    } else if (dialog_.style == Dialog::Style::critical) {
        label->setPixmap(theme::symbol("warning", iconSize, theme::caution(), scale));
    }
    if (label->pixmap(Qt::ReturnByValue).isNull())
        label->setPixmap(QApplication::windowIcon().pixmap(bound, scale));
    return label;
}

void DialogWindow::addTexts(QBoxLayout& column) {
    const int most = mostHeightOn(*this);
    if (!dialog_.title.empty()) {
        column.addWidget(scrollingWhenLong(new HeadingLabel(literal(dialog_.title)), textWidth, most));
    }
    if (!dialog_.text.empty()) {
        column.addWidget(scrollingWhenLong(new BodyLabel(literal(dialog_.text)), textWidth, most));
    }
}

void DialogWindow::addAccessory(QBoxLayout& column) {
    QWidget* accessory = nullptr;
    const QString name = literalLine(dialog_.text.empty() ? dialog_.title : dialog_.text);
    if (const auto* field = std::get_if<TextField>(&dialog_.accessory)) {
        constexpr double highestLine = 40;
        if (field->height < highestLine) {
            accessory = line_ = new QLineEdit(toQt(field->text));
            line_->setPlaceholderText(literalLine(field->placeholder));
            line_->selectAll();
        } else {
            accessory = lines_ = new QPlainTextEdit(toQt(field->text));
            lines_->setPlaceholderText(literal(field->placeholder));
            lines_->setTabChangesFocus(true);
            lines_->setMinimumHeight(qRound(field->height));
        }
        accessory->setMinimumWidth(qRound(field->width));
    } else if (const auto* choice = std::get_if<ChoiceBox>(&dialog_.accessory)) {
        accessory = box_ = new QComboBox;
        for (const std::string& option : choice->options) box_->addItem(literalLine(option));
        box_->setCurrentIndex(static_cast<int>(choice->chosen));
        box_->setMinimumWidth(qRound(choice->width));
        // A name of 300 characters must not widen the dialog.
        box_->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    } else if (const auto* image = std::get_if<ImageAccessory>(&dialog_.accessory)) {
        accessory = pictureView(image->path, *this);
    } else if (const auto* text = std::get_if<LongText>(&dialog_.accessory)) {
        accessory = longTextView(text->text);
    } else if (const auto* styled = std::get_if<StyledText>(&dialog_.accessory)) {
        auto* view = new StyledView;
        view->showText(*styled);
        accessory = view;
    }
    if (accessory == nullptr) return;
    accessory->setAccessibleName(name);
    const bool scrolls = std::holds_alternative<LongText>(dialog_.accessory) ||
                         std::holds_alternative<StyledText>(dialog_.accessory);
    if (scrolls)
        accessory->setMinimumSize(
            QSize(longTextWidth, longTextHeight).boundedTo(screen()->availableGeometry().size() * 3 / 4));
    column.addWidget(accessory, scrolls ? 1 : 0);
}

QAbstractButton* DialogWindow::addButton(std::size_t number, QAbstractButton* button) {
    button->setText(literalTitle(dialog_.buttons[number]));
    button->setAccessibleName(literalLine(dialog_.buttons[number]));
    connect(button, &QAbstractButton::clicked, this, [this, number] { press(number); });
    buttons_.resize(dialog_.buttons.size());
    return buttons_[number] = button;
}

void DialogWindow::addPictureButtons(QBoxLayout& column) {
    auto* grid = new QGridLayout;
    grid->setSpacing(theme::gap);
    int place = 0;
    for (std::size_t number = 0; number < dialog_.buttons.size(); ++number) {
        if (number >= dialog_.buttonPictures.size() || dialog_.buttonPictures[number].empty()) continue;
        auto* button =
            new PictureButton(pictureOfButton(dialog_.buttonPictures[number], devicePixelRatioF()));
        addButton(number, button);
        button->setToolTip(plainToolTip(dialog_.buttons[number]));
        grid->addWidget(button, place / picturesInARow, place % picturesInARow);
        ++place;
    }
    grid->setColumnStretch(picturesInARow, 1);
    column.addLayout(grid);
}

void DialogWindow::addButtons(QBoxLayout& column) {
    auto* row = new QHBoxLayout;
    row->setSpacing(theme::gap);
    // The first button stands at the end of the line, where the way goes on.
    for (std::size_t number = 0; number < dialog_.buttons.size(); ++number) {
        if (number < buttons_.size() && buttons_[number] != nullptr) continue;
        auto* button = new QPushButton;
        addButton(number, button);
        button->setMinimumWidth(5 * theme::margin + theme::gap);
        // Where pictures are to be chosen from, Enter belongs to them.
        button->setAutoDefault(dialog_.buttonPictures.empty());
        row->insertWidget(0, button);
        if (number == dialog_.defaultButton) button->setDefault(true);
    }
    row->insertStretch(0);
    column.addLayout(row);
    // Tab goes through them as they are counted.
    for (std::size_t number = 1; number < buttons_.size(); ++number) {
        if (buttons_[number - 1] != nullptr && buttons_[number] != nullptr)
            setTabOrder(buttons_[number - 1], buttons_[number]);
    }
}

void DialogWindow::press(std::size_t button) {
    pressed_ = button;
    done(QDialog::Accepted);
}

void DialogWindow::reject() {
    if (const auto button = MVAlert::cancelButton(dialog_)) press(*button);
}

void DialogWindow::keyPressEvent(QKeyEvent* event) {
    const bool isEnter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    // One with a picture is no button that the toolkit knows a default of.
    const bool isToolButton = qobject_cast<QToolButton*>(focusWidget()) != nullptr;
    if (isEnter && isToolButton) return static_cast<QToolButton*>(focusWidget())->click();
    if (isEnter && event->modifiers() == Qt::ControlModifier && lines_ != nullptr)
        return press(dialog_.defaultButton);
    QDialog::keyPressEvent(event);
}

DialogAnswer DialogWindow::answer() const {
    DialogAnswer answer{.button = pressed_, .text = ""};
    if (line_ != nullptr) answer.text = fromQt(line_->text());
    if (lines_ != nullptr) answer.text = fromQt(lines_->toPlainText());
    if (box_ != nullptr) answer.chosen = static_cast<std::size_t>(std::max(box_->currentIndex(), 0));
    return answer;
}

DialogAnswer askUser(const Dialog& dialog, QWidget* parent) {
    DialogWindow window(dialog, parent);
    raiseAttention(parent != nullptr ? parent->window() : &window);
    // An event loop that ends without an answer belongs to an application that ends.
    const bool isAnswered = window.exec() == QDialog::Accepted;
    DialogAnswer answer = window.answer();
    if (!isAnswered) answer.button = MVAlert::cancelButton(dialog).value_or(dialog.defaultButton);
    return answer;
}

void raiseAttention(QWidget* window) {
    if (window != nullptr && QApplication::activeWindow() == nullptr) QApplication::alert(window);
}

}  // namespace morvane::views
