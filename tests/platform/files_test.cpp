#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <string>
#include <unistd.h>

#include "platform/files.h"

using namespace qorl;

TEST(Files, DirectoriesListingAndReading) {
  VXString root = VXString("/tmp/qorl_files_test_") + VXString::FromInt(getpid());
  SystemUtility::RemoveDirectoryTree(root);
  VXString deep = SUFilePath::VXPathAppend(root, "a/b/\xC3\xA9");
  ASSERT_TRUE(SystemUtility::MakeDirectories(deep));
  EXPECT_TRUE(SystemUtility::MakeDirectories(deep));  // existing is fine
  EXPECT_TRUE(SystemUtility::IsDirectory(deep));
  EXPECT_FALSE(SystemUtility::IsFileExist(deep));

  VXString file = SUFilePath::VXPathAppend(root, "z.xml");
  {
    std::ofstream out(file.ToUTF8(), std::ios::binary);
    out << "<a>\r\n\xC3\xA9</a>";
  }
  std::string bytes;
  ASSERT_TRUE(SystemUtility::ReadWholeFile(file, bytes));
  EXPECT_EQ(bytes, "<a>\r\n\xC3\xA9</a>");
  EXPECT_TRUE(SystemUtility::IsFileExist(file));
  EXPECT_FALSE(SystemUtility::ReadWholeFile(SUFilePath::VXPathAppend(root, "missing"), bytes));

  VXStringVector names;
  ASSERT_TRUE(SystemUtility::ListDirectory(root + "/", names));
  EXPECT_EQ(names, (VXStringVector{"a", "z.xml"}));
  EXPECT_FALSE(SystemUtility::ListDirectory(file, names));

  EXPECT_TRUE(SystemUtility::RemoveDirectoryTree(root));
  EXPECT_FALSE(SystemUtility::IsDirectory(root));
  EXPECT_TRUE(SystemUtility::RemoveDirectoryTree(root));

  EXPECT_EQ(SUFilePath::VXPathAppend("a/", "/b"), "a/b");
  EXPECT_EQ(SUFilePath::VXPathAppend("a", "b"), "a/b");
  EXPECT_EQ(SUFilePath::VXPathAppend("", "b"), "b");
  EXPECT_EQ(SUFilePath::VXPathAppend("/", "b"), "/b");
}
