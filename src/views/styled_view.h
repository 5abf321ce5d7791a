// views/styled_view.h: styled texts (`StyledText`) on windows, to be read or edited. Main thread.
#pragma once

#include <QTextBrowser>
#include <functional>
#include <string>

#include "platform/value.h"

class QTextCharFormat;
class QTextDocument;

namespace morvane::views {

/// Bold, italic and links as they are; the rest of the look is the document's own. The kinds of runs that the
/// document does not show (font, size) are kept in it.
void fillDocument(QTextDocument& document, const StyledText& text);
/// How it shows one run.
[[nodiscard]] QTextCharFormat formatOf(const StyledRun& run);
/// What `fillDocument` would make the document of.
[[nodiscard]] StyledText styledTextOf(const QTextDocument& document);

/// A text to be read. It loads nothing from anywhere.
class StyledView : public QTextBrowser {
    Q_OBJECT
  public:
    explicit StyledView(QWidget* parent = nullptr);

    void showText(const StyledText& text);
    /// Gets the links that are clicked. At first those of the web open in the user's browser, and no others.
    void setLinkHandler(std::function<void(const std::string& link)> handler);

    [[nodiscard]] QVariant loadResource(int type, const QUrl& name) override;

  private:
    std::function<void(const std::string& link)> follow_;
};

/// Opens a link of http or https in the user's browser; of any other nothing happens.
void openWebLink(const std::string& link);

}  // namespace morvane::views
