// Files that are written in turn, and where the running program is.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "platform/mfc_files.h"
#include "platform/win32.h"

namespace {

TEST(FilesTest, OpensInEveryMode) {
  const std::string path = testing::TempDir() + "gl3_files_test.txt";
  std::filesystem::remove(path);
  const auto write = [&](unsigned int flags, const std::string& text, bool atEnd) {
    CStdioFile file;
    if (!file.Open(path.c_str(), CStdioFile::kModeWrite | flags)) return std::string("refused");
    EXPECT_EQ(file.Open(path.c_str(), flags), 0) << "open already";
    if (atEnd) file.SeekToEnd();
    EXPECT_EQ(file.Write(text.data(), text.size()), 1);
    file.Close();
    EXPECT_EQ(file.Write("x", 1), 0);
    std::ifstream in(path);
    return std::string(std::istreambuf_iterator<char>(in), {});
  };
  constexpr unsigned int kCreate = CStdioFile::kModeCreate, kKeep = CStdioFile::kModeNoTruncate;
  EXPECT_EQ(write(0, "a", false), "refused") << "not there";
  EXPECT_EQ(write(kCreate | kKeep | CStdioFile::kShareExclusive, "abc", true), "abc");
  EXPECT_EQ(write(kCreate | kKeep | CStdioFile::kShareExclusive, "de", true), "abcde");
  EXPECT_EQ(write(0, "X", false), "Xbcde");
  EXPECT_EQ(write(kCreate, "new", false), "new");
  std::filesystem::remove(path);
  CStdioFile file;
  EXPECT_EQ(file.Open("/proc/nothing/can/be/made", kCreate), 0);
  EXPECT_EQ(file.Open(nullptr, kCreate), 0);
}

TEST(FilesTest, TheRunningProgramKnowsItsFile) {
  const std::string program = std::filesystem::read_symlink("/proc/self/exe");
  const auto length = static_cast<DWORD>(program.size());
  char path[4096];
  for (const HMODULE module : {GetModuleHandleA(nullptr), static_cast<HMODULE>(nullptr)}) {
    EXPECT_EQ(GetModuleFileNameA(module, path, sizeof path), length);
    EXPECT_EQ(path, program);
  }
  EXPECT_EQ(GetModuleFileNameA(nullptr, path, length + 1), length) << "just fits";
  EXPECT_EQ(GetModuleFileNameA(nullptr, path, length), length) << "cut";
  EXPECT_EQ(path, program.substr(0, length - 1));
  EXPECT_EQ(GetModuleHandleA("other"), nullptr);
  EXPECT_EQ(GetModuleFileNameA(reinterpret_cast<HMODULE>(8), path, sizeof path), 0u);
  EXPECT_STREQ(path, "");
  EXPECT_EQ(GetModuleFileNameA(nullptr, path, 0), 0u);
}

}  // namespace
