#include "views/question_row.h"

#include <QAbstractTextDocumentLayout>
#include <QEvent>
#include <QTextDocument>
#include <QToolButton>
#include <QVBoxLayout>

#include "views/labels.h"
#include "views/styled_view.h"
#include "views/theme.h"

namespace morvane::views {

QuestionRow::QuestionRow(const NSHelpTab::Question& question, QWidget* parent)
    : QWidget(parent), title_(new QToolButton), answer_(new StyledView) {
    title_->setText(literalTitle(question.question));
    title_->setAccessibleName(literalLine(question.question));
    title_->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    title_->setCheckable(true);
    title_->setAutoRaise(true);
    title_->setFocusPolicy(Qt::StrongFocus);
    connect(title_, &QToolButton::toggled, this, &QuestionRow::open);

    answer_->setAccessibleName(title_->accessibleName());
    answer_->setFrameShape(QFrame::NoFrame);
    answer_->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    answer_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    theme::makeFlush(*answer_);
    answer_->document()->setDocumentMargin(theme::gap);
    answer_->showText(question.answer);
    answer_->viewport()->installEventFilter(this);

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
    answer_->setVisible(isOpen);
    if (isOpen) fitAnswer();
}

void QuestionRow::fitAnswer() {
    // It is as high as its text; the page around it scrolls.
    answer_->setFixedHeight(qCeil(answer_->document()->documentLayout()->documentSize().height()));
}

bool QuestionRow::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::Resize) fitAnswer();
    // The wheel turns the page.
    if (event->type() == QEvent::Wheel) {
        event->ignore();
        return true;
    }
    return QWidget::eventFilter(watched, event);
}

}  // namespace morvane::views
