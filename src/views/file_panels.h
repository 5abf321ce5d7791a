// views/file_panels.h: draws the file panels of `UserInterface` (`OpenPanel`, `SavePanel`). Main thread.
//
// What a panel does not offer is grey. A panel without a folder of its own starts where the user chose last in
// one of that title.
#pragma once

#include <QFileDialog>
#include <QIcon>
#include <QSortFilterProxyModel>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/user_interface.h"

namespace morvane::views {

class HintLabel;

/// The file system as a panel offers it: folders first, and what cannot be chosen is grey.
class OfferedFiles : public QSortFilterProxyModel {
    Q_OBJECT
  public:
    struct Offer {
        std::function<bool(const std::string&path)> isOffered, isBundle;
    };
    OfferedFiles(Offer offer, QObject* parent);

    [[nodiscard]] Qt::ItemFlags flags(const QModelIndex& index) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;

  protected:
    [[nodiscard]] bool lessThan(const QModelIndex& left, const QModelIndex& right) const override;

  private:
    const Offer offer_;
    const QIcon bundleIcon_;
    /// What was found out of a path: rows are drawn again and again.
    mutable std::map<std::string, bool> known_;
};

/// What both panels share: places at the side, a line for what is wrong with a choice, the remembered folder.
class FilePanel : public QFileDialog {
    Q_OBJECT
  public:
    FilePanel(const std::string& title, QWidget* parent);

  protected:
    /// The folder to start in, and the files as they are offered.
    void begin(const std::string& startFolder, OfferedFiles::Offer offer);
    /// In place of the toolkit's own rule for double clicks and Enter on a row.
    virtual void activate(const std::string& path) = 0;
    void enter(const std::string& folder);
    void tell(const std::string& flaw);
    void addBelow(QWidget* widget);
    [[nodiscard]] std::string typedName() const;
    void remember(const std::string& folder) const;

  private:
    const std::string title_;
    HintLabel* flaw_;
};

class OpenFilePanel : public FilePanel {
    Q_OBJECT
  public:
    OpenFilePanel(const OpenPanel& panel, QWidget* parent);
    /// Empty before the panel is accepted.
    [[nodiscard]] const std::vector<std::string>& chosen() const { return chosen_; }

    void accept() override;

  protected:
    void activate(const std::string& path) override;

  private:
    [[nodiscard]] bool isBundle(const std::string& path) const;
    [[nodiscard]] bool isOffered(const std::string& path) const;
    void choose(const std::vector<std::string>& paths);

    const OpenPanel panel_;
    std::vector<std::string> chosen_;
};

class SaveFilePanel : public FilePanel {
    Q_OBJECT
  public:
    SaveFilePanel(const SavePanel& panel, QWidget* parent);
    [[nodiscard]] const std::optional<std::string>& chosen() const { return chosen_; }

    void accept() override;

  protected:
    void activate(const std::string& path) override;

  private:
    [[nodiscard]] bool hasType(const std::string& path) const;
    void addForm();
    /// A change of one field may have changed the others.
    void showForm();

    const SavePanel panel_;
    std::optional<std::string> chosen_;
    std::vector<QWidget*> fields_;
};

/// Both block until the panel is closed, with the event loop running.
[[nodiscard]] std::vector<std::string> chooseFiles(const OpenPanel& panel, QWidget* parent);
[[nodiscard]] std::optional<std::string> chooseSavePath(const SavePanel& panel, QWidget* parent);

}  // namespace morvane::views
