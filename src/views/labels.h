// views/labels.h: texts on windows: plain, selectable, elided. Main thread.
//
// What they show is shown literally, whatever it holds: no markup, no direction marks, no control characters.
#pragma once

#include <QLabel>
#include <QString>
#include <string_view>

class QAbstractButton;

namespace morvane::views {

/// A text from outside as it may be shown: `harmless`, nothing else changed.
[[nodiscard]] QString literal(std::string_view text);
/// The same in one line, for titles and rows.
[[nodiscard]] QString literalLine(std::string_view text);
/// The same as a tooltip, which the toolkit would take for markup where it looks like some; cut after 300 characters.
[[nodiscard]] QString plainToolTip(std::string_view text);
/// The same as a title of a button or a menu: no character of it is a shortcut.
[[nodiscard]] QString literalTitle(std::string_view text);

/// Wraps, and can be selected with mouse and keyboard.
class BodyLabel : public QLabel {
    Q_OBJECT
  public:
    explicit BodyLabel(const QString& text, QWidget* parent = nullptr);
};

/// A larger and bolder one, by the factor.
class HeadingLabel : public BodyLabel {
    Q_OBJECT
  public:
    explicit HeadingLabel(const QString& text, QWidget* parent = nullptr, double factor = 1.2);
};

/// Text beside the main one.
class HintLabel : public BodyLabel {
    Q_OBJECT
  public:
    explicit HintLabel(const QString& text, QWidget* parent = nullptr);

  protected:
    void changeEvent(QEvent* event) override;

  private:
    void takeColour();
};

/// One line that gives way when there is no room, with the whole in its tooltip then.
class ElidedLabel : public QLabel {
    Q_OBJECT
  public:
    explicit ElidedLabel(Qt::TextElideMode mode, QWidget* parent = nullptr);
    void setWholeText(const QString& text);
    [[nodiscard]] QString wholeText() const { return whole_; }

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

  protected:
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;

  private:
    void elide();

    Qt::TextElideMode mode_;
    QString whole_;
};

}  // namespace morvane::views
