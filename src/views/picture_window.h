// views/picture_window.h: a picture of a page, as large as the window, or as it is. Main thread.
#pragma once

#include <QDialog>
#include <QImage>
#include <memory>
#include <optional>
#include <string>

class QLabel;
class QPushButton;
class QScrollArea;

namespace morvane::views {

class HintLabel;

class PictureWindow : public QDialog {
    Q_OBJECT
  public:
    /// Opens one, which is decoded anew in the background and goes when it is closed.
    static PictureWindow* show(const std::string& description,
                               const std::shared_ptr<const std::string>& bytes, QWidget* parent);

    [[nodiscard]] const QImage& image() const { return image_; }

  protected:
    void resizeEvent(QResizeEvent* event) override;

  private:
    PictureWindow(const std::string& description, QWidget* parent);
    void take(const std::optional<QImage>& image);
    void draw();

    QLabel* picture_;
    HintLabel* description_;
    QScrollArea* area_;
    QPushButton* wholeSize_;
    QImage image_;
};

}  // namespace morvane::views
