#include <gtest/gtest.h>

#include <filesystem>

#include "SPW_CApp.h"
#include "SPW_CAppSys.h"
#include "StringPrinting.h"

namespace {

TEST(AppW32Test, ModuleIsTheRunningProgram) {
    SPW_CString path;
    SPW_CApp::getModulePath(path, true);
    EXPECT_TRUE(std::filesystem::equivalent(path.text(), testing::internal::GetArgvs()[0])) << path.toAnsi();
    SPW_CString folder;
    SPW_CApp::getModulePath(folder, false);
    EXPECT_EQ(std::filesystem::path(folder.text()), std::filesystem::path(path.text()).parent_path());
}

TEST(AppW32Test, DataRootIsTheProgramFolderOfTheCurrentDrive) {
    SPW_CString path;
    SPW_CAppSys::instance->getDataRoot(path);
    EXPECT_EQ(path, u"\\Program Files");
}

TEST(AppW32Test, TemporaryDirectoryIsTheSystems) {
    SPW_CString path;
    EXPECT_TRUE(SPW_CAppSys::instance->getTempPath(path));
    EXPECT_EQ(path.last(), u'\\');
    EXPECT_EQ(std::filesystem::path(path.text()), std::filesystem::temp_directory_path());
}

}  // namespace
