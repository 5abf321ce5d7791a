// Dialogs, file panels and progress, through what a user does in them.

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QTest>

#include "views/desktop_interface.h"
#include "views/dialogs.h"
#include "views/file_panels.h"
#include "views/labels.h"
#include "views/progress_panel.h"
#include "views/styled_view.h"
#include "views/views_machine.h"

namespace morvane::views {
namespace {

class Questions : public testing::ViewsMachine {
  public:
    DesktopInterface desktop;

    /// What is answered when the user does this.
    DialogAnswer answered(const Dialog& dialog, std::function<void(DialogWindow&)> act) {
        whenAsked<DialogWindow>(std::move(act));
        return desktop.showDialog(dialog);
    }
};

TEST_F(Questions, KeysPressWhatTheyStandFor) {
    struct Row {
        std::string name;
        std::vector<std::string> buttons;
        std::size_t defaultButton;
        Qt::Key key;
        std::size_t pressed;
    };
    for (const Row& row : std::vector<Row>{
             {"Enter, the first", {"Yes", "No"}, 0, Qt::Key_Return, 0},
             {"Enter, another default", {"Stop and Save", "Cancel"}, 1, Qt::Key_Return, 1},
             {"Escape, Cancel", {"List Only", "Remove from Disk", "Cancel"}, 0, Qt::Key_Escape, 2},
             {"Escape, No in front", {"No", "Yes"}, 0, Qt::Key_Escape, 0},
             {"Escape, No behind", {"Yes", "No"}, 0, Qt::Key_Escape, 1},
             {"Escape, the agreement", {"I Agree", "I Disagree"}, 0, Qt::Key_Escape, 1},
             {"Escape, the only one", {"OK"}, 0, Qt::Key_Escape, 0},
             {"Space on the second", {"Install Now", "Buy", "Cancel"}, 0, Qt::Key_Space, 1},
         }) {
        SCOPED_TRACE(row.name);
        const Dialog dialog{.title = "Go on?", .buttons = row.buttons, .defaultButton = row.defaultButton};
        const DialogAnswer answer = answered(dialog, [&](DialogWindow& window) {
            if (row.key == Qt::Key_Space) window.buttons()[1]->setFocus();
            QTest::keyClick(row.key == Qt::Key_Space ? static_cast<QWidget*>(window.buttons()[1]) : &window,
                            row.key);
        });
        EXPECT_EQ(answer.button, row.pressed);
    }
}

TEST_F(Questions, WithoutAWayOutEscapeDoesNothing) {
    const Dialog dialog{.title = "App Missing", .buttons = {"Locate the App", "Remove it"}};
    const DialogAnswer answer = answered(dialog, [](DialogWindow& window) {
        QTest::keyClick(&window, Qt::Key_Escape);
        window.close();
        ASSERT_TRUE(window.isVisible());
        window.buttons()[1]->click();
    });
    EXPECT_EQ(answer.button, 1U);
}

TEST_F(Questions, FieldsComeBackWithWhatWasTyped) {
    Dialog line{.title = "Link", .buttons = {"OK", "Cancel"}, .accessory = TextField{.text = "old"}};
    EXPECT_EQ(answered(line,
                       [](DialogWindow& window) {
                           // The whole is selected: typing replaces it.
                           QTest::keyClicks(window.focusWidget(), "new");
                           QTest::keyClick(window.focusWidget(), Qt::Key_Return);
                       })
                  .text,
              "new");
    Dialog lines{.title = "Feedback", .buttons = {"Send", "Cancel"}, .accessory = TextField{.height = 90}};
    const DialogAnswer feedback = answered(lines, [](DialogWindow& window) {
        QTest::keyClicks(window.focusWidget(), "a");
        QTest::keyClick(window.focusWidget(), Qt::Key_Return);
        QTest::keyClicks(window.focusWidget(), "b");
        QTest::keyClick(window.focusWidget(), Qt::Key_Return, Qt::ControlModifier);
    });
    EXPECT_EQ(feedback.text, "a\nb");
    EXPECT_EQ(feedback.button, 0U);
    Dialog choice{
        .title = "Port", .buttons = {"OK"}, .accessory = ChoiceBox{.options = {"A", "B"}, .chosen = 1}};
    EXPECT_EQ(answered(choice, [](DialogWindow& window) { window.buttons()[0]->click(); }).chosen, 1U);
    EXPECT_EQ(answered(choice,
                       [](DialogWindow& window) {
                           QTest::keyClick(window.findChild<QComboBox*>(), Qt::Key_Up);
                           window.buttons()[0]->click();
                       })
                  .chosen,
              0U);
}

TEST_F(Questions, ShowWhatStrangersWroteLiterally) {
    StyledText evil{.text = "file and script",
                    .runs = {{.length = 4, .link = "file:///etc/passwd"},
                             {.length = 5},
                             {.length = 6, .link = "javascript:alert(1)"}}};
    const Dialog dialog{.title = "<b>Bold</b> &amp; \xE2\x80\xAEtxt.exe",
                        .text = "<img src='file:///etc/passwd'>",
                        .buttons = {"Save & go"},
                        .accessory = evil};
    answered(dialog, [](DialogWindow& window) {
        QStringList texts;
        for (const auto* label : window.findChildren<QLabel*>()) texts.append(label->text());
        EXPECT_TRUE(texts.contains("<b>Bold</b> &amp; \uFFFDtxt.exe")) << texts.join("|").toStdString();
        EXPECT_TRUE(texts.contains("<img src='file:///etc/passwd'>"));
        EXPECT_EQ(window.buttons()[0]->accessibleName(), "Save & go");
        auto* view = window.findChild<StyledView*>();
        ASSERT_NE(view, nullptr);
        for (const char* link : {"file:///etc/passwd", "javascript:alert(1)", "https://example.com/"})
            Q_EMIT view->anchorClicked(QUrl(link));
        window.buttons()[0]->click();
    });
    EXPECT_EQ(ui.opened, std::vector<std::string>{"https://example.com/"});
}

// ---- File panels

class Panels : public Questions {
  public:
    const std::string place = home + "/Games";
    Panels() {
        put(place + "/Half-Life.app/Contents/Info.plist", "x");
        put(place + "/Port.CKI", "x");
        put(place + "/notes.txt", "x");
        put(place + "/Inside/Other.cki", "x");
    }

    /// The row of a file in the panel; waits for the files to be listed.
    static QModelIndex row(FilePanel& panel, const QString& name) {
        auto* view = panel.findChild<QAbstractItemView*>("treeView");
        QModelIndex found;
        runUntil([&] {
            const QModelIndex root = view->rootIndex();
            for (int number = 0; number < view->model()->rowCount(root); ++number) {
                const QModelIndex index = view->model()->index(number, 0, root);
                if (index.data().toString() == name) found = index;
            }
            return found.isValid();
        });
        return found;
    }
    static void activate(FilePanel& panel, const QString& name) {
        const QModelIndex index = row(panel, name);
        Q_EMIT panel.findChild<QAbstractItemView*>("treeView")->activated(index);
    }
    static void type(FilePanel& panel, const std::string& text) {
        panel.findChild<QLineEdit*>("fileNameEdit")->setText(QString::fromStdString(text));
        QTest::keyClick(panel.findChild<QLineEdit*>("fileNameEdit"), Qt::Key_Return);
    }
    std::vector<std::string> chosen(const OpenPanel& panel, std::function<void(OpenFilePanel&)> act) {
        whenAsked<OpenFilePanel>(std::move(act));
        return desktop.chooseFiles(panel);
    }
    std::optional<std::string> saved(const SavePanel& panel, std::function<void(SaveFilePanel&)> act) {
        whenAsked<SaveFilePanel>(std::move(act));
        return desktop.chooseSavePath(panel);
    }
};

TEST_F(Panels, OfferWhatCanBeChosen) {
    using Paths = std::vector<std::string>;
    const OpenPanel wrappers{.title = "W", .startFolder = place, .types = {"app", "cki"}};
    const auto isGrey = [](OpenFilePanel& panel, const QString& name) {
        return (row(panel, name).flags() & Qt::ItemIsEnabled) == 0;
    };
    // A bundle is a file; Escape chooses nothing.
    EXPECT_EQ(chosen(wrappers,
                     [&](OpenFilePanel& panel) {
                         EXPECT_TRUE(isGrey(panel, "notes.txt"));
                         EXPECT_FALSE(isGrey(panel, "Port.CKI"));
                         EXPECT_FALSE(isGrey(panel, "Inside"));
                         activate(panel, "Half-Life.app");
                     }),
              Paths{place + "/Half-Life.app"});
    EXPECT_EQ(chosen(wrappers, [](OpenFilePanel& panel) { QTest::keyClick(&panel, Qt::Key_Escape); }),
              Paths{});
    // A folder is entered, and a typed path that is not offered is told about.
    EXPECT_EQ(chosen(wrappers,
                     [&](OpenFilePanel& panel) {
                         activate(panel, "Inside");
                         row(panel, "Other.cki");
                         type(panel, place + "/notes.txt");
                         ASSERT_TRUE(panel.isVisible());
                         EXPECT_TRUE(panel.findChild<HintLabel*>()->text().contains("notes.txt"));
                         activate(panel, "Other.cki");
                     }),
              Paths{place + "/Inside/Other.cki"});
    // Bundles as folders.
    const OpenPanel programs{
        .title = "P", .startFolder = place, .types = {"plist"}, .packagesAsFolders = true};
    EXPECT_EQ(chosen(programs,
                     [&](OpenFilePanel& panel) {
                         activate(panel, "Half-Life.app");
                         activate(panel, "Contents");
                         activate(panel, "Info.plist");
                     }),
              Paths{place + "/Half-Life.app/Contents/Info.plist"});
    // Folders only: the one that the panel stands in.
    const OpenPanel folders{.title = "F", .startFolder = place, .files = false, .folders = true};
    EXPECT_EQ(chosen(folders, [](OpenFilePanel& panel) { panel.accept(); }), Paths{place});
    // The panel's own rule.
    OpenPanel strict = wrappers;
    strict.shouldEnable = [](const std::string& path) { return !path.ends_with(".app"); };
    chosen(strict, [&](OpenFilePanel& panel) {
        EXPECT_TRUE(isGrey(panel, "Half-Life.app"));
        activate(panel, "Half-Life.app");
        EXPECT_TRUE(panel.isVisible());
        panel.reject();
    });
}

TEST_F(Panels, FormsTakeChoicesAndMayChangeThemselves) {
    Form form{.fields = {{.label = "Engine", .options = {"A", "B"}},
                         {.kind = FormField::Kind::checkBox, .label = "Steam"}}};
    form.fields[0].changed = [&](std::size_t chosen) { form.fields[1].chosen = chosen; };
    const SavePanel panel{
        .title = "S", .startFolder = place, .proposedName = "X", .types = {"app"}, .accessory = &form};
    saved(panel, [&](SaveFilePanel& window) {
        auto* engine = window.findChildren<QComboBox*>().last();
        auto* steam = window.findChild<QCheckBox*>();
        QTest::keyClick(engine, Qt::Key_Down);
        EXPECT_TRUE(steam->isChecked());
        steam->click();
        window.accept();
    });
    EXPECT_EQ(form.fields[0].chosen, 1U);
    EXPECT_EQ(form.fields[1].chosen, 0U);
}

// ---- Progress

TEST_F(Questions, SourcesArePictures) {
    const std::string picture = host().folders.resources + "/steam.png";
    const Dialog dialog{.title = "Choose a source",
                        .buttons = {"Steam", "GOG", "CD", "Other", "Cancel"},
                        .buttonPictures = {picture, picture, picture, "/missing.png"}};
    const DialogAnswer answer = answered(dialog, [](DialogWindow& window) {
        ASSERT_EQ(window.buttons().size(), 5U);
        // Three a row.
        EXPECT_EQ(window.buttons()[0]->y(), window.buttons()[2]->y());
        EXPECT_GT(window.buttons()[3]->y(), window.buttons()[2]->y());
        EXPECT_EQ(window.buttons()[0]->iconSize(), QSize(80, 80));
        window.buttons()[0]->setFocus();
        QTest::keyClick(window.buttons()[0], Qt::Key_Tab);
        QTest::keyClick(window.focusWidget(), Qt::Key_Return);
    });
    EXPECT_EQ(answer.button, 1U);
}

}  // namespace
}  // namespace morvane::views
