#include "platform/FolderListing.h"

#include <gtest/gtest.h>

#include "support/TempFolder.h"

namespace {

std::vector<std::wstring> List(const std::wstring& folder, bool recurse = false) {
  std::vector<std::wstring> files;
  GetFilesInFolder(folder, {L".jpg"}, recurse, files);
  for (std::wstring& file : files) file.erase(0, folder.find_last_of(L"\\/") + 1);
  return files;
}

// The order is the one measured on the home platform's file system.
TEST(FolderListing, FilesComeInNameOrderByExactExtension) {
  const TempFolder folder;
  for (const char* name :
       {"zz.jpg",      "_under.jpg", "[br].jpg", "\u00C92.jpg", "\u00E9.jpg", "\u03A92.jpg", "\u03C9.jpg", "\u0430.jpg",
        "\u04102.jpg", "aA.jpg",     "AB.jpg",   "a_.jpg",      "a0.jpg",     "A1.jpg",      "a.jpg",      "IMG_10.jpg",
        "IMG_2.jpg",   "-dash.jpg",  ".jpg",     "B.JPG",       "x.jpg.bak",  "noext",       "x.jpeg"}) {
    folder.Write(name, "");
  }
  std::filesystem::create_directory(folder.Path() / "folder.jpg");
  folder.Write("folder.jpg/inside.jpg", "");
  folder.Link(folder.Path(), "folder.jpg/back");  // not gone round
  const std::vector<std::wstring> expected = {
      L"-dash.jpg",   L".jpg",       L"a.jpg",       L"a0.jpg",     L"A1.jpg",     L"aA.jpg",     L"AB.jpg",
      L"a_.jpg",      L"IMG_10.jpg", L"IMG_2.jpg",   L"zz.jpg",     L"[br].jpg",   L"_under.jpg", L"\u00E9.jpg",
      L"\u00C92.jpg", L"\u03C9.jpg", L"\u03A92.jpg", L"\u0430.jpg", L"\u04102.jpg"};
  EXPECT_EQ(List(folder.Wide() + L"/"), expected);
  EXPECT_EQ(List(folder.Wide() + L"\\"), expected);
  EXPECT_EQ(List(folder.Wide() + L"/fold", true), std::vector<std::wstring>{L"folder.jpg\\inside.jpg"});
}

TEST(FolderListing, TextAfterTheLastSeparatorIsAPrefixAndThePathKeepsIt) {
  const TempFolder folder;
  for (const char* name : {"a1.jpg", "a2.jpg", "b1.jpg"}) folder.Write(name, "");
  const std::wstring text = folder.Wide() + L"/a";
  std::vector<std::wstring> files = {L"before"};
  EXPECT_TRUE(GetFilesInFolder(text, {L".txt", L".jpg"}, false, files));
  EXPECT_EQ(files, (std::vector<std::wstring>{L"before", text + L"a1.jpg", text + L"a2.jpg"}));
  for (const wchar_t* noFolder : {L"/missing/", L"/a1.jpg/"}) {
    EXPECT_FALSE(GetFilesInFolder(folder.Wide() + noFolder, {L".jpg"}, false, files));
  }
}

}  // namespace
