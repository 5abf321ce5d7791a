// What tests of pages do with their widgets: find one by its name, click a word, look at what everybody can use.
#pragma once

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QButtonGroup>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QTest>
#include <QTextBrowser>
#include <string>

#include "views/views_machine.h"

namespace morvane::testing {

inline std::string nameOf(const QWidget& widget) {
    const QString name = widget.accessibleName();
    return (name.isEmpty() ? widget.property("text").toString() : name).toStdString();
}

/// The visible one of that name.
template <class Widget>
Widget* named(QWidget& window, const std::string& name) {
    for (Widget* each : window.findChildren<Widget*>()) {
        if (each->isVisible() && nameOf(*each) == name) return each;
    }
    ADD_FAILURE() << "no widget is called " << name;
    return nullptr;
}

inline bool shows(QWidget& window, const std::string& text) {
    const QString part = QString::fromStdString(text);
    for (const QLabel* label : window.findChildren<QLabel*>()) {
        if (label->isVisible() && label->text().contains(part)) return true;
    }
    for (const QTextBrowser* view : window.findChildren<QTextBrowser*>()) {
        if (view->isVisible() && view->toPlainText().contains(part)) return true;
    }
    return false;
}

/// As with the pointer: at the middle of the text's first character.
inline void clickAt(QTextBrowser& view, QTextCursor place) {
    const int start = place.selectionStart();
    place.setPosition(start);
    const QRect before = view.cursorRect(place);
    place.setPosition(start + 1);
    const QRect after = view.cursorRect(place);
    QTest::mouseClick(view.viewport(), Qt::LeftButton, {},
                      QPoint((before.left() + after.left()) / 2, before.center().y()));
}
inline void clickWord(QTextBrowser& view, const std::string& word) {
    const QTextCursor place = view.document()->find(QString::fromStdString(word));
    ASSERT_FALSE(place.isNull()) << word << " is not in:\n" << view.toPlainText().toStdString();
    clickAt(view, place);
}

/// Each control has a name, and the keyboard reaches it.
inline void expectAccessible(QWidget& window) {
    for (QWidget* widget : window.findChildren<QWidget*>()) {
        const bool isControl = qobject_cast<QAbstractButton*>(widget) != nullptr ||
                               qobject_cast<QLineEdit*>(widget) != nullptr ||
                               qobject_cast<QPlainTextEdit*>(widget) != nullptr ||
                               qobject_cast<QTextEdit*>(widget) != nullptr ||
                               qobject_cast<QAbstractItemView*>(widget) != nullptr;
        // Parts of the toolkit's own controls have none.
        const bool isPart = widget->objectName().startsWith("qt_") ||
                            qobject_cast<QLineEdit*>(widget->parentWidget()) != nullptr ||
                            qobject_cast<QHeaderView*>(widget) != nullptr;
        if (!isControl || !widget->isVisible() || isPart) continue;
        EXPECT_FALSE(nameOf(*widget).empty()) << widget->metaObject()->className();
        // Of buttons that exclude each other the toolkit lets one be reached so; the arrow keys go on from it.
        const auto* button = qobject_cast<QAbstractButton*>(widget);
        const bool isOneOfMany =
            button != nullptr &&
            (button->autoExclusive() || (button->group() != nullptr && button->group()->exclusive()));
        EXPECT_TRUE((widget->focusPolicy() & Qt::TabFocus) != 0 || isOneOfMany) << nameOf(*widget);
    }
}

}  // namespace morvane::testing
