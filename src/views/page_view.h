// views/page_view.h: a page of the web to be read (`HtmlPage`): its text, headings, links and pictures. Main thread.
//
// It fetches the page's pictures and nothing else. A picture that does not come is its description. A click on a
// picture that is no link shows it larger in a window of its own.
#pragma once

#include <QImage>
#include <QTextBrowser>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "app/preferences_view.h"
#include "platform/styled_text.h"

class QTimer;

namespace morvane::views {

class PictureFetcher;

class PageView : public QTextBrowser, public WebTextSize {
    Q_OBJECT
  public:
    explicit PageView(QWidget* parent = nullptr);

    /// Relative links and pictures are those of the address, which may be empty.
    void showPage(HtmlPage page, const std::string& address);
    void clearPage();
    /// Gets the links that are followed: of the web, and the application's own. At first those of the web open in the
    /// user's browser.
    void setLinkHandler(std::function<void(const std::string& link)> handler) {
        follow_ = std::move(handler);
    }
    [[nodiscard]] PictureFetcher& fetcher() { return *fetcher_; }

    void makeTextStandardSize() override;
    void makeTextLarger() override;

    /// Nothing is loaded from anywhere.
    [[nodiscard]] QVariant loadResource(int type, const QUrl& name) override;

  Q_SIGNALS:
    /// A picture was clicked.
    void pictureWanted(const std::string& description, const std::shared_ptr<const std::string>& bytes);

  protected:
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;

  private:
    struct Place {
        QTextCursor cursor;
        std::string description;
    };
    /// A picture, wherever the page shows it.
    struct Source {
        std::string address;
        std::vector<Place> places;
        QImage image;  ///< null until it has come
        bool isMissing = false;
    };
    void write();
    /// Soon, together with others: the text around each is laid out anew.
    void drawSoon(std::size_t number);
    void drawChanged();
    void draw(std::size_t number);
    static void putDescription(Place& place);
    static void putImage(std::size_t number, Place& place, QSizeF size);
    void follow(const QUrl& link);
    void keepColumn();
    [[nodiscard]] int columnWidth() const;
    [[nodiscard]] QSize imageBound() const;

    std::function<void(const std::string&)> follow_;
    PictureFetcher* const fetcher_;
    HtmlPage page_;
    std::string address_;
    std::vector<Source> sources_;
    std::vector<std::size_t> sourceOfPicture_;  ///< by picture of the page
    std::set<std::size_t> changed_;
    QTimer* const drawing_;
    double fontSize_;  ///< points, of the standard text
    int drawnWidth_ = 0;
};

}  // namespace morvane::views
