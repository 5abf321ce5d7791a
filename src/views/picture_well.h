// views/picture_well.h: a well that shows a picture, and takes one that is dropped, pasted or chosen. Main thread.
#pragma once

#include <QAbstractButton>
#include <QImage>
#include <QSize>
#include <optional>

#include "platform/value.h"

class QMimeData;

namespace morvane::views {

/// A click, Enter or Space asks for a file; Delete takes the picture away where that is allowed.
class PictureWell : public QAbstractButton {
    Q_OBJECT
  public:
    /// The name is that of its picture. The size is of the picture in points.
    PictureWell(const QString& name, QSize size, QWidget* parent = nullptr);

    void setPicture(const std::optional<ImageData>& picture);
    void setCanBeEmptied(bool can) { canBeEmptied_ = can; }
    [[nodiscard]] bool hasPicture() const { return !image_.isNull(); }
    [[nodiscard]] QSize sizeHint() const override;

  Q_SIGNALS:
    /// Whatever it is: who gets it says whether it is a picture.
    void pictureDropped(const morvane::ImageData& picture);
    void pictureRemoved();

  protected:
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;

  private:
    void take(const QMimeData& dropped);
    void readFile(const std::string& path);
    void choose();

    const QString name_;
    const QSize size_;
    std::optional<ImageData> picture_;
    QImage image_;
    bool isDraggedOver_ = false;
    bool canBeEmptied_ = false;
};

}  // namespace morvane::views
