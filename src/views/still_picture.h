// views/still_picture.h: the still picture of a video, with a play mark; a click or a key plays it. Main thread.
#pragma once

#include <QAbstractButton>
#include <QImage>

namespace morvane::views {

class StillPicture : public QAbstractButton {
    Q_OBJECT
  public:
    explicit StillPicture(QWidget* parent = nullptr);

    /// Null: none. A picture that is the thing itself has no mark.
    void setPicture(const QImage& picture);
    void setHasMark(bool has);
    [[nodiscard]] bool hasPicture() const { return !picture_.isNull(); }
    [[nodiscard]] bool hasMark() const { return hasMark_; }
    [[nodiscard]] QSize sizeHint() const override;

  protected:
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;

  private:
    QImage picture_;
    bool hasMark_ = true;
};

}  // namespace morvane::views
