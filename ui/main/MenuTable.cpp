#include "ui/main/MenuTable.h"

#include "ui/main/frmMain.h"

namespace k470 {

const std::array<MenuItem, 18> MenuTable{{
    {"mnuFile", nullptr, {"&File", "文件(&F)"}, "", nullptr},
    {"mnuFile_New", "mnuFile", {"&New", "新建(&N)"}, "", &frmMain::FileNew},
    {"mnuFile_Open", "mnuFile", {"&Open", "打开(&O)"}, "", &frmMain::FileOpen},
    {"mnuFile_Save", "mnuFile", {"&Save", "保存(&S)"}, "", &frmMain::FileSave},
    {"mnuFile_SaveAs", "mnuFile", {"Save &As", "另存为(&A)"}, "", &frmMain::FileSaveAs},
    {"mnuFileBar2", "mnuFile", {"", ""}, "", nullptr},
    {"mnuFile_Exit", "mnuFile", {"&Exit", "退出(&E)"}, "", &frmMain::FileExit},
    {"mnuProgram", nullptr, {"&Program", "编程(&P)"}, "", nullptr},
    {"mnuRead", "mnuProgram", {"&Read From Radio", "从对讲机读取数据(&R)"}, "Ctrl+R", &frmMain::ReadRadio},
    {"mnuWrite", "mnuProgram", {"&Write To Radio", "向对讲机写入数据(&W)"}, "Ctrl+W", &frmMain::WriteRadio},
    {"mnuSet", nullptr, {"&Setting", "设置(&S)"}, "", nullptr},
    {"mnuPort", "mnuSet", {"Set &Com", "串口设置(&C)"}, "", &frmMain::SetPort},
    {"mnuFile_Bar5", "mnuSet", {"", ""}, "", nullptr},
    {"mnuLanguage", "mnuSet", {"Set &Language", "语言设置(&L)"}, "", &frmMain::SetLanguage},
    {"mnuFile_Bar6", "mnuSet", {"", ""}, "", nullptr},
    {"mnuAdvanded", "mnuSet", {"&Advanded", "高级(&A)"}, "", &frmMain::OpenAdvanced},
    {"mnuHelp", nullptr, {"&Help", "帮助(&H)"}, "", nullptr},
    {"mnuHelp_About", "mnuHelp", {"&About", "关于(&A)"}, "", &frmMain::ShowAbout},
}};

const std::array<ToolButton, 8> ToolTable{{
    {"New", {"New", "新建"}, &frmMain::FileNew},
    {"Open", {"Open", "打开"}, &frmMain::FileOpen},
    {"Save", {"Save", "保存"}, &frmMain::FileSave},
    {"Print", {"Apply edits", "应用修改"}, &frmMain::CommitEdits},
    {"Read", {"Read", "读频"}, &frmMain::ReadRadio},
    {"Com", {"Com", "串口"}, &frmMain::SetPort},
    {"Write", {"Write", "写频"}, &frmMain::WriteRadio},
    {"About", {"About", "关于"}, &frmMain::ShowAbout},
}};

} // namespace k470
