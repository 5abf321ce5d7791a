#include "views/file_panels.h"

#include <QAbstractItemView>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFileSystemModel>
#include <QFormLayout>
#include <QGridLayout>
#include <QHeaderView>
#include <QLineEdit>
#include <QSplitter>
#include <QTreeView>
#include <algorithm>

#include "foundation/alerts.h"
#include "foundation/localization.h"
#include "foundation/settings.h"
#include "foundation/text.h"
#include "platform/files.h"
#include "platform/host.h"
#include "views/dialogs.h"
#include "views/labels.h"
#include "views/qt_text.h"
#include "views/theme.h"

namespace morvane::views {

namespace {

constexpr QSize panelSize(820, 540);
constexpr int placesWidth = 150, nameWidth = 320;

bool isOfType(const std::string& path, const std::vector<std::string>& types) {
    const std::string type = MVString::lowercased(files::extension(path));
    return std::ranges::any_of(types,
                               [&](const std::string& one) { return MVString::lowercased(one) == type; });
}

bool isFolder(const std::string& path) {
    return files::kindBehind(path) == files::Kind::folder;
}

std::string rememberedFolder(const std::string& title) {
    const auto stored = settings::stored(settings::panelFolders);
    const auto* folders = stored ? stored->as<Dictionary>() : nullptr;
    const auto* folder = folders != nullptr ? folders->get<std::string>(title) : nullptr;
    return folder != nullptr && isFolder(*folder) ? *folder : "";
}

std::string pathOf(const QModelIndex& index) {
    return fromQt(index.data(QFileSystemModel::FilePathRole).toString());
}

}  // namespace

// ---- The files

OfferedFiles::OfferedFiles(Offer offer, QObject* parent)
    : QSortFilterProxyModel(parent), offer_(std::move(offer)), bundleIcon_(theme::icon("library")) {}

Qt::ItemFlags OfferedFiles::flags(const QModelIndex& index) const {
    const Qt::ItemFlags flags = QSortFilterProxyModel::flags(index);
    const std::string path = pathOf(index);
    auto known = known_.find(path);
    if (known == known_.end()) known = known_.emplace(path, offer_.isOffered(path)).first;
    return known->second ? flags : flags & ~(Qt::ItemIsEnabled | Qt::ItemIsSelectable);
}

QVariant OfferedFiles::data(const QModelIndex& index, int role) const {
    if (role == Qt::DecorationRole && index.column() == 0 && offer_.isBundle(pathOf(index)))
        return bundleIcon_;
    return QSortFilterProxyModel::data(index, role);
}

bool OfferedFiles::lessThan(const QModelIndex& left, const QModelIndex& right) const {
    const auto* model = static_cast<const QFileSystemModel*>(sourceModel());
    const bool isLeftFolder = model->isDir(left), isRightFolder = model->isDir(right);
    if (isLeftFolder != isRightFolder) return isLeftFolder == (sortOrder() == Qt::AscendingOrder);
    enum Column { name, size, type, date };
    if (left.column() == size) return model->size(left) < model->size(right);
    if (left.column() == date) return model->lastModified(left) < model->lastModified(right);
    return QString::localeAwareCompare(left.data().toString(), right.data().toString()) < 0;
}

// ---- What both panels share

FilePanel::FilePanel(const std::string& title, QWidget* parent)
    : QFileDialog(parent, literalLine(title)), title_(title), flaw_(new HintLabel(QString())) {
    // The desktop's own panel knows neither bundles nor greyed files.
    setOptions(QFileDialog::DontUseNativeDialog | QFileDialog::DontConfirmOverwrite |
               QFileDialog::DontUseCustomDirectoryIcons);
    setViewMode(QFileDialog::Detail);
    resize(panelSize);
    const std::string& home = host().folders.home;
    QList<QUrl> places;
    for (const std::string& place : {home, host().folders.desktop, host().folders.downloads,
                                     host().folders.applications, std::string("/")}) {
        if (isFolder(place)) places.append(QUrl::fromLocalFile(toQt(place)));
    }
    setSidebarUrls(places);
}

void FilePanel::begin(const std::string& startFolder, OfferedFiles::Offer offer) {
    setProxyModel(new OfferedFiles(std::move(offer), this));
    std::string folder = isFolder(startFolder) ? startFolder : rememberedFolder(title_);
    enter(folder.empty() ? host().folders.home : folder);
    // "Files of type" would only repeat what is grey.
    for (const char* name : {"fileTypeLabel", "fileTypeCombo"}) {
        if (auto* widget = findChild<QWidget*>(name)) widget->hide();
    }
    for (const char* name : {"listView", "treeView"}) {
        auto* view = findChild<QAbstractItemView*>(name);
        if (view == nullptr) continue;
        disconnect(view, &QAbstractItemView::activated, this, nullptr);
        disconnect(view, SIGNAL(activated(QModelIndex)), this, nullptr);
        connect(view, &QAbstractItemView::activated, this,
                [this](const QModelIndex& index) { activate(pathOf(index)); });
    }
    if (auto* splitter = findChild<QSplitter*>("splitter"))
        splitter->setSizes({placesWidth, panelSize.width() - placesWidth});
    if (auto* view = findChild<QTreeView*>("treeView")) view->header()->resizeSection(0, nameWidth);
    flaw_->hide();
    addBelow(flaw_);
}

void FilePanel::enter(const std::string& folder) {
    setDirectory(toQt(folder));
    if (auto* name = findChild<QLineEdit*>("fileNameEdit"); name != nullptr && acceptMode() == AcceptOpen)
        name->clear();
    flaw_->hide();
}

void FilePanel::tell(const std::string& flaw) {
    flaw_->setText(literal(flaw));
    flaw_->show();
}

void FilePanel::addBelow(QWidget* widget) {
    auto* grid = static_cast<QGridLayout*>(layout());
    grid->addWidget(widget, grid->rowCount(), 0, 1, grid->columnCount());
}

std::string FilePanel::typedName() const {
    const auto* name = findChild<QLineEdit*>("fileNameEdit");
    return name != nullptr ? fromQt(name->text()) : "";
}

void FilePanel::remember(const std::string& folder) const {
    settings::update(settings::panelFolders, [&](const std::optional<Value>& stored) -> std::optional<Value> {
        const auto* known = stored ? stored->as<Dictionary>() : nullptr;
        Dictionary folders = known != nullptr ? *known : Dictionary();
        folders.set(title_, folder);
        return Value(folders);
    });
}

// ---- Choosing what is there

OpenFilePanel::OpenFilePanel(const OpenPanel& panel, QWidget* parent)
    : FilePanel(panel.title, parent), panel_(panel) {
    setAcceptMode(AcceptOpen);
    if (panel.folders && !panel.files) {
        setFileMode(Directory);
        setOption(ShowDirsOnly);
    } else {
        setFileMode(panel.multiple ? ExistingFiles : ExistingFile);
    }
    begin(panel.startFolder, {.isOffered = [this](const std::string& path) { return isOffered(path); },
                              .isBundle = [this](const std::string& path) { return isBundle(path); }});
}

bool OpenFilePanel::isBundle(const std::string& path) const {
    return !panel_.packagesAsFolders && isOfType(path, panel_.types) && isFolder(path);
}

bool OpenFilePanel::isOffered(const std::string& path) const {
    // A folder can be entered, whatever may be chosen, unless the panel says no.
    if (isFolder(path) && !isBundle(path)) return !panel_.shouldEnable || panel_.shouldEnable(path);
    return MVAlert::checkChoice(panel_, path).has_value();
}

void OpenFilePanel::activate(const std::string& path) {
    if (isFolder(path) && !isBundle(path)) return enter(path);
    choose({path});
}

void OpenFilePanel::accept() {
    std::vector<std::string> paths;
    for (const QString& file : selectedFiles()) paths.push_back(fromQt(file));
    const bool isPlace = paths.size() == 1 && isFolder(paths.front()) && !isBundle(paths.front());
    if (isPlace && !panel_.folders) return enter(paths.front());
    if (!paths.empty()) choose(paths);
}

void OpenFilePanel::choose(const std::vector<std::string>& paths) {
    for (const std::string& path : paths) {
        if (const auto checked = MVAlert::checkChoice(panel_, path); !checked)
            return tell(checked.error().message());
    }
    chosen_ = paths;
    remember(files::parent(paths.front()));
    QDialog::accept();  // NOLINT(bugprone-parent-virtual-call): not what a file dialog would do
}

// ---- A place for something new

SaveFilePanel::SaveFilePanel(const SavePanel& panel, QWidget* parent)
    : FilePanel(panel.title, parent), panel_(panel) {
    setAcceptMode(AcceptSave);
    setFileMode(AnyFile);
    begin(panel.startFolder,
          {.isOffered = [this](const std::string& path) { return isFolder(path) || hasType(path); },
           .isBundle = [this](const std::string& path) { return hasType(path) && isFolder(path); }});
    if (auto* name = findChild<QLineEdit*>("fileNameEdit")) {
        name->setText(toQt(panel.proposedName));
        name->selectAll();
        name->setFocus();
    }
    if (panel_.accessory != nullptr) addForm();
}

bool SaveFilePanel::hasType(const std::string& path) const {
    return panel_.types.empty() || isOfType(path, panel_.types);
}

void SaveFilePanel::activate(const std::string& path) {
    if (isFolder(path) && !(hasType(path) && !panel_.types.empty())) return enter(path);
    accept();
}

void SaveFilePanel::accept() {
    std::string name = MVString::trimmed(typedName());
    if (name.starts_with("~/")) name = host().folders.home + name.substr(1);
    if (name.empty()) return;
    std::string path = name.starts_with("/") ? name : files::join(fromQt(directory().absolutePath()), name);
    const bool namesPlace = name.ends_with("/") || name == "." || name == ".." ||
                            (name.starts_with("/") && isFolder(path) && !hasType(path));
    if (namesPlace) return enter(path);
    path = fromQt(QDir::cleanPath(toQt(path)));
    const bool hasAnyType = panel_.types.empty() || isOfType(path, panel_.types);
    if (!hasAnyType) path += "." + panel_.types.front();
    if (!isFolder(files::parent(path)))
        return tell(localized("There is nothing at %@.", {files::parent(path)}));
    if (files::kindOf(path) != files::Kind::none) {
        constexpr std::size_t useIt = 1;
        const std::string question = localized(
            "%@ exists already. Do you want to use that place all the same? What is there now can be lost.",
            {path});
        if (askUser(MVAlert::booleanDialog(question, "Warning", false), this).button != useIt) return;
    }
    chosen_ = path;
    remember(files::parent(path));
    QDialog::accept();  // NOLINT(bugprone-parent-virtual-call): not what a file dialog would do
}

void SaveFilePanel::addForm() {
    auto* widget = new QWidget;
    auto* form = new QFormLayout(widget);
    form->setContentsMargins(0, theme::gap, 0, 0);
    for (std::size_t number = 0; number < panel_.accessory->fields.size(); ++number) {
        const QString label = literalLine(panel_.accessory->fields[number].label);
        const auto change = [this, number](int value) {
            FormField& field = panel_.accessory->fields[number];
            const auto chosen = static_cast<std::size_t>(std::max(value, 0));
            if (chosen == field.chosen) return;
            field.chosen = chosen;
            // A copy: what follows may exchange the fields.
            if (const auto changed = field.changed) changed(chosen);
            showForm();
        };
        if (panel_.accessory->fields[number].kind == FormField::Kind::choice) {
            auto* box = new QComboBox;
            box->setAccessibleName(label);
            connect(box, &QComboBox::activated, this, change);
            form->addRow(label, box);
            fields_.push_back(box);
        } else {
            auto* box = new QCheckBox(literalTitle(panel_.accessory->fields[number].label));
            connect(box, &QCheckBox::clicked, this, [change](bool on) { change(on ? 1 : 0); });
            form->addRow(QString(), box);
            fields_.push_back(box);
        }
    }
    showForm();
    addBelow(widget);
}

void SaveFilePanel::showForm() {
    for (std::size_t number = 0; number < fields_.size(); ++number) {
        const FormField& field = panel_.accessory->fields.at(number);
        if (auto* check = qobject_cast<QCheckBox*>(fields_[number])) {
            check->setChecked(field.chosen != 0);
            continue;
        }
        auto* box = static_cast<QComboBox*>(fields_[number]);
        QStringList options;
        for (const std::string& option : field.options) options.append(literalLine(option));
        box->clear();
        box->addItems(options);
        box->setCurrentIndex(static_cast<int>(field.chosen));
        box->setEnabled(options.size() > 1);
    }
}

// ---- Asking

std::vector<std::string> chooseFiles(const OpenPanel& panel, QWidget* parent) {
    OpenFilePanel window(panel, parent);
    raiseAttention(parent != nullptr ? parent->window() : &window);
    window.exec();
    return window.chosen();
}

std::optional<std::string> chooseSavePath(const SavePanel& panel, QWidget* parent) {
    SaveFilePanel window(panel, parent);
    raiseAttention(parent != nullptr ? parent->window() : &window);
    window.exec();
    return window.chosen();
}

}  // namespace morvane::views
