#include "core/AppState.h"
#include "core/Preferences.h"
#include "files/CodeplugFile.h"
#include "ui/main/frmMain.h"
#include "ui/shared/Texts.h"

#include <QAction>
#include <QApplication>
#include <QDialog>
#include <QMessageBox>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTimer>

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace k470 {
namespace {

/// Preferences that forget.
class NoStore : public PreferenceStore {
public:
    std::string GetKeyValue(std::string_view) const override { return ""; }
    bool UpdateKey(std::string_view, std::string_view) override { return true; }
};

/// Answers the question as told and turns the open dialog down.
class User {
public:
    explicit User(QMessageBox::StandardButton answer) : answer_(answer) {
        QObject::connect(&timer_, &QTimer::timeout, [this] { Look(); });
        timer_.start(1);
    }

    std::vector<std::string> seen; ///< the text of the question, the name of the dialog

private:
    void Look() {
        auto *dialog = qobject_cast<QDialog *>(QApplication::activeModalWidget());
        if (auto *box = qobject_cast<QMessageBox *>(dialog)) {
            seen.push_back(FromQt(box->text()));
            EXPECT_EQ(FromQt(box->windowTitle().trimmed()), "");
            EXPECT_EQ(box->icon(), QMessageBox::Warning);
            EXPECT_EQ(box->standardButtons(), QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel);
            box->button(answer_)->click();
        } else if (dialog != nullptr) {
            seen.push_back(FromQt(dialog->objectName()));
            dialog->reject();
        }
    }

    QMessageBox::StandardButton answer_;
    QTimer timer_;
};

TEST(SaveQuestion, DecidesWhetherTheOpenCommandSavesAndGoesOn) {
    struct Case {
        QMessageBox::StandardButton answer;
        Language language;
        bool saves, goesOn;
    };
    for (const auto &[answer, language, saves, goesOn] :
         {Case{QMessageBox::Yes, Language::English, true, true},
          Case{QMessageBox::No, Language::Chinese, false, true},
          Case{QMessageBox::Cancel, Language::English, false, false}}) {
        const QTemporaryDir folder;
        NoStore store;
        AppState state;
        frmMain window(state, store);
        window.show();
        state.language = language;
        state.currentFileName = FromQt(folder.filePath("mine.tw"));
        state.image[Address::Volume] ^= 1;
        const MemoryImage edited = state.image;

        User user(answer);
        window.findChild<QAction *>("mnuFile_Open")->trigger();

        std::vector<std::string> expected{std::string(
            Pick(language, {"File has been modified, save it now?", "文件已被修改，是否保存？"}))};
        if (goesOn)
            expected.emplace_back("FileDialog");
        EXPECT_EQ(user.seen, expected) << answer;
        MemoryImage saved{};
        EXPECT_EQ(!ReadCodeplug(state.currentFileName, saved), saves) << answer;
        EXPECT_EQ(saved == edited, saves) << answer;
        EXPECT_EQ(state.image, edited) << answer;
    }
}

} // namespace
} // namespace k470
