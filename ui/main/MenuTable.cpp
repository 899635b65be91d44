#include "ui/main/MenuTable.h"

#include "ui/main/frmMain.h"
#include "ui/shared/Texts.h"
#include "ui/shared/ThemedIcon.h"

#include <QAction>
#include <QMenu>
#include <QMenuBar>
#include <QToolBar>

namespace k470 {

namespace {

constexpr int ToolIconSize = 24; // pixels

} // namespace

using Main = frmMain; // keeps each row on one line

const std::array<MenuItem, 18> frmMain::MenuTable{{
    {"mnuFile", nullptr, {"&File", "文件(&F)"}, "", nullptr},
    {"mnuFile_New", "mnuFile", {"&New", "新建(&N)"}, "", &Main::mnuFile_New_Click},
    {"mnuFile_Open", "mnuFile", {"&Open", "打开(&O)"}, "", &Main::mnuFile_Open_Click},
    {"mnuFile_Save", "mnuFile", {"&Save", "保存(&S)"}, "", &Main::mnuFile_Save_Click},
    {"mnuFile_SaveAs", "mnuFile", {"Save &As", "另存为(&A)"}, "", &Main::mnuFile_SaveAs_Click},
    {"mnuFileBar2", "mnuFile", {"", ""}, "", nullptr},
    {"mnuFile_Exit", "mnuFile", {"&Exit", "退出(&E)"}, "", &Main::mnuFile_Exit_Click},
    {"mnuProgram", nullptr, {"&Program", "编程(&P)"}, "", nullptr},
    {"mnuRead", "mnuProgram", {"&Read From Radio", "从对讲机读取数据(&R)"}, "Ctrl+R", &Main::mnuRead_Click},
    {"mnuWrite", "mnuProgram", {"&Write To Radio", "向对讲机写入数据(&W)"}, "Ctrl+W", &Main::mnuWrite_Click},
    {"mnuSet", nullptr, {"&Setting", "设置(&S)"}, "", nullptr},
    {"mnuPort", "mnuSet", {"Set &Com", "串口设置(&C)"}, "", &Main::mnuPort_Click},
    {"mnuFile_Bar5", "mnuSet", {"", ""}, "", nullptr},
    {"mnuLanguage", "mnuSet", {"Set &Language", "语言设置(&L)"}, "", &Main::mnuLanguage_Click},
    {"mnuFile_Bar6", "mnuSet", {"", ""}, "", nullptr},
    {"mnuAdvanded", "mnuSet", {"&Advanded", "高级(&A)"}, "", &Main::mnuAdvanded_Click},
    {"mnuHelp", nullptr, {"&Help", "帮助(&H)"}, "", nullptr},
    {"mnuHelp_About", "mnuHelp", {"&About", "关于(&A)"}, "", &Main::mnuHelp_About_Click},
}};

const std::array<ToolButton, 8> frmMain::ToolTable{{
    {"New", {"New", "新建"}, &Main::mnuFile_New_Click},
    {"Open", {"Open", "打开"}, &Main::mnuFile_Open_Click},
    {"Save", {"Save", "保存"}, &Main::mnuFile_Save_Click},
    {"Print", {"Apply edits", "应用修改"}, &Main::CommitEdits},
    {"Read", {"Read", "读频"}, &Main::mnuRead_Click},
    {"Com", {"Com", "串口"}, &Main::mnuPort_Click},
    {"Write", {"Write", "写频"}, &Main::mnuWrite_Click},
    {"About", {"About", "关于"}, &Main::mnuHelp_About_Click},
}};

void frmMain::MakeMenus() {
    for (const MenuItem &item : MenuTable) {
        auto *menu = item.menu != nullptr ? findChild<QMenu *>(item.menu) : nullptr;
        if (menu == nullptr) {
            menuBar()->addMenu(new QMenu(this))->menu()->setObjectName(item.name);
            continue;
        }
        QAction *action = item.command != nullptr ? menu->addAction(QString()) : menu->addSeparator();
        action->setObjectName(item.name);
        if (item.command == nullptr)
            continue;
        action->setShortcut(QKeySequence(item.shortcut));
        connect(action, &QAction::triggered, this, item.command);
    }
}

void frmMain::MakeToolbar() {
    auto *toolbar = new QToolBar(this);
    toolbar->setObjectName("tlbActions");
    toolbar->setMovable(false);
    toolbar->setIconSize(QSize(ToolIconSize, ToolIconSize));
    addToolBar(toolbar);
    for (const ToolButton &button : ToolTable) {
        QAction *action = toolbar->addAction(QString());
        action->setObjectName(QString("tlbActions_") + button.key);
        connect(action, &QAction::triggered, this, [this, &button] { tlbActions_ButtonClick(button); });
        const bool endsGroup = qstrcmp(button.key, "Print") == 0 || qstrcmp(button.key, "Write") == 0;
        if (endsGroup)
            toolbar->addSeparator();
        if (auto *widget = toolbar->widgetForAction(action))
            widget->setFocusPolicy(Qt::TabFocus);
    }
    PaintToolbar();
}

void frmMain::PaintToolbar() {
    for (const ToolButton &button : ToolTable) {
        auto *action = findChild<QAction *>(QString("tlbActions_") + button.key);
        action->setIcon(ThemedIcon(QString(":/icons/%1.svg").arg(QString(button.key).toLower()), palette()));
    }
}

void frmMain::ApplyMenuCaptions() {
    for (const MenuItem &item : MenuTable) {
        const QString caption = PickText(state_.language, item.caption);
        if (item.menu == nullptr)
            findChild<QMenu *>(item.name)->setTitle(caption);
        else if (item.command != nullptr)
            findChild<QAction *>(item.name)->setText(caption);
    }
    for (const ToolButton &button : ToolTable) {
        auto *action = findChild<QAction *>(QString("tlbActions_") + button.key);
        action->setText(PickText(state_.language, button.toolTip));
        action->setToolTip(PickText(state_.language, button.toolTip));
    }
}

} // namespace k470
