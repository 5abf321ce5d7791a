// cli/application.h: the application without windows: what a command does with ports and items is done by the code
// that the desktop uses. Main thread.
#pragma once

#include <functional>
#include <string>

#include "app/app_delegate.h"
#include "cli/session.h"

namespace morvane::cli {

class Application {
  public:
    explicit Application(Session& session);

    /// Runs the action with the library loaded; a first scan comes before. The exit code when everything that it
    /// started has ended.
    int run(const std::function<void(AppDelegate&)>& action);
    /// The same for an action that installs a port, with the embedded sites: says where the wrapper is, and how it is started.
    int install(const std::function<void(AppActions&)>& action);
    [[nodiscard]] AppDelegate& delegate() { return delegate_; }

  private:
    class TerminalShell : public ShellView {
      public:
        explicit TerminalShell(Console& console) : console_(console) {}
        void showWindow(const NSDescriptionView::HtmlWindow& window) override;
        void portInstalled(const std::string& wrapper) override { installed = wrapper; }

        std::string installed;

      private:
        Console& console_;
    };

    Session& session_;
    TerminalShell shell_;
    AppDelegate delegate_;
};

/// Says where the new wrapper is, and how to start it; a failure when there is none, and when its program is
/// missing, with what to do then.
int finished(Session& session, const std::string& wrapper);

}  // namespace morvane::cli
