#include "views/question_row.h"

#include <QAbstractTextDocumentLayout>
#include <QEvent>
#include <QTextDocument>
#include <QToolButton>
#include <QVBoxLayout>

#include "views/labels.h"
#include "views/qt_text.h"
#include "views/styled_view.h"
#include "views/theme.h"

namespace morvane::views {

QuestionRow::QuestionRow(const NSHelpTab::Question& question, QWidget* parent)
    : QWidget(parent), title_(new QToolButton), answer_(new StyledView) {
    title_->setText(literalTitle(question.question));
    title_->setAccessibleName(literalLine(question.question));
    title_->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    title_->setToolTip(shown("Show or hide the answer"));
    title_->setAutoRaise(true);
    title_->setFocusPolicy(Qt::StrongFocus);
    // A long one gives way.
    title_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    connect(title_, &QToolButton::clicked, this, [this] { open(answer_->isHidden()); });
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);

    answer_->setAccessibleName(title_->accessibleName());
    answer_->setFrameShape(QFrame::NoFrame);
    answer_->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    answer_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    answer_->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    theme::makeFlush(*answer_);
    answer_->document()->setDocumentMargin(theme::gap);
    answer_->showText(question.answer);
    answer_->viewport()->installEventFilter(this);
    connect(answer_->document()->documentLayout(), &QAbstractTextDocumentLayout::documentSizeChanged, this,
            &QuestionRow::fitAnswer);

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(title_);
    column->addWidget(answer_);
    open(false);
}

void QuestionRow::open(bool isOpen) {
    title_->setArrowType(isOpen                                 ? Qt::DownArrow
                         : layoutDirection() == Qt::RightToLeft ? Qt::LeftArrow
                                                                : Qt::RightArrow);
    QFont font = title_->font();
    font.setBold(isOpen);
    title_->setFont(font);
    title_->setAccessibleDescription(isOpen ? shown("The answer is shown") : shown("The answer is hidden"));
    answer_->setVisible(isOpen);
    if (isOpen) fitAnswer();
}

void QuestionRow::fitAnswer() {
    // It is as high as its text; the page around it scrolls.
    answer_->setFixedHeight(qCeil(answer_->document()->documentLayout()->documentSize().height()));
}

bool QuestionRow::eventFilter(QObject* watched, QEvent* event) {
    // The wheel turns the page.
    if (event->type() == QEvent::Wheel) {
        event->ignore();
        return true;
    }
    return QWidget::eventFilter(watched, event);
}

}  // namespace morvane::views
