// app/app_delegate_view.h: what the application tells the front end that draws it. Main thread.
//
// Nothing is told while something is made: what is told can be asked about. A window with state of its own is
// shown, changes, and is closed, in this order; its end is told also when the application ends, at which
// nothing more can be asked of it.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "app/preferences_view.h"
#include "app/properties_window.h"
#include "library/description_view.h"
#include "library/ranking_list.h"
#include "library/voting_panel.h"

namespace morvane {

/// The tabs of the main window.
enum class MorvaneTab { news = 1, library = 2, rankings = 3, forum = 4, help = 5 };
/// `system`: as the desktop is.
enum class WindowAppearance { light, vibrantDark, system };
/// The web views of the main window.
enum class WebView { news, forum };

/// The item in the status bar.
struct Menulet {
    std::string image;  ///< a template picture's path: only its shape counts
    double width = 16, height = 16;
    std::string tooltip;
    std::vector<std::string> titles;  ///< of its menu; titles without an action
};

/// What shows something else from now on. `dock`: the shelf of the grid.
enum class ShownPart {
    library,
    gamePage,
    actionTitle,
    preferences,
    appsFolders,
    properties,
    dock,
    webViewZoom,
};

/// A front end overrides what it draws; nothing else happens without it.
class ShellView {
  public:
    virtual ~ShellView() = default;

    /// Where links that the system brings go from now on; nowhere with an empty handler.
    virtual void setURLHandler(const std::function<void(const std::string& link)>&) {}
    /// Where a click on a notification goes, with what the notification carries; nowhere with an empty
    /// handler.
    virtual void setNotificationHandler(const std::function<void(const std::string& info)>&) {}

    /// Whether the front end has the layout at all.
    [[nodiscard]] virtual bool hasLayout(LibraryLayout) const { return true; }
    virtual void setWindowAppearance(WindowAppearance) {}
    /// The picture's path: the window's background, the action and trailer buttons, the grid's bottom button.
    virtual void setThemeImage(ThemeImage, const std::string&) {}
    virtual void showListLayout() {}
    virtual void createMenulet(const Menulet&) {}
    /// Loads the address; `AppDelegate::webPageLoaded` follows, also after a failure.
    virtual void loadWebPage(WebView, const std::string&) {}
    virtual void showHtml(WebView, const std::string&) {}
    virtual void showMorvaneTab(MorvaneTab) {}
    /// The grid's tab of the game page.
    virtual void showGamePage() {}
    virtual void bringMainWindowToFront() {}

    virtual void changed(ShownPart) {}
    /// One row of the library alone: its icon, or what has become of it.
    virtual void libraryRowChanged(std::size_t) {}
    virtual void rankingsChanged(NSRankingList::TableType) {}

    virtual void showWindow(const NSDescriptionView::HtmlWindow&) {}
    /// To be kept by the front end for as long as it uses it; another panel first closes this one.
    virtual void showVotingPanel(const std::shared_ptr<NSVotingPanel>&) {}
    virtual void votingPanelClosed() {}
    /// The same.
    virtual void showProperties(const std::shared_ptr<NSPropertiesWindow>&) {}
    virtual void propertiesClosed() {}
    virtual void beep() {}
    /// A port that was opened or made from the menu is finished and in the library.
    virtual void portInstalled(const std::string&) {}
};

}  // namespace morvane
