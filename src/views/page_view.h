// views/page_view.h: a page of the catalogue's site (`HtmlPage`) as rich text, with its pictures. Main thread.
#pragma once

#include <QHash>
#include <QImage>
#include <atomic>
#include <functional>
#include <memory>
#include <string>

#include "platform/styled_text.h"
#include "views/styled_view.h"

namespace morvane::views {

/// Pictures are fetched in the background, one after the other, from the web only; a click shows one in its own size.
class PageView : public StyledView {
    Q_OBJECT
  public:
    explicit PageView(QWidget* parent = nullptr);

    /// Relative addresses of the page are taken from the address.
    void showPage(const HtmlPage& page, const std::string& address);
    /// Gets the links that are clicked, absolute.
    void setPageLinkHandler(std::function<void(const std::string& link)> handler);

  private:
    void fill(const HtmlPage& page);
    void fetchPictures(const HtmlPage& page);
    void take(const QString& name, const QImage& picture);
    void follow(const std::string& link);
    void enlarge(const QString& name);

    std::string address_;
    std::function<void(const std::string& link)> handler_;
    QHash<QString, QImage> pictures_;
    std::shared_ptr<std::atomic<unsigned>> pages_;  ///< shown so far
};

/// A link of a page as an absolute address; empty for one that is no link of the web and none of ours.
[[nodiscard]] std::string absoluteLink(const std::string& link, const std::string& page);

}  // namespace morvane::views
