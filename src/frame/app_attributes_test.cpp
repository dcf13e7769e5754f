#include "frame/app_attributes.h"

#include <gtest/gtest.h>

#include "test_support/temp_folder.h"

namespace sondrel {
namespace {

constexpr const char* kInfoPlist = R"(<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0">
<dict>
  <key>CFBundleExecutable</key><string>Demo</string>
  <key>CFBundleShortVersionString</key><string>2.4.1</string>
  <key>NSHumanReadableCopyright</key><string>© 2024 Example Ltd.</string>
  <key>LSMinimumSystemVersion</key><array><string>not text</string></array>
</dict>
</plist>)";

TEST(AppAttributes, ComeFromTheNearestBundleAboveTheExecutable) {
  testing::TempFolder root;
  root.write("Applications/Demo.app/Contents/Info.plist", kInfoPlist);
  root.write("Applications/Demo.app/Contents/MacOS/Demo", "binary");
  const std::vector<std::string> keys = {"NSHumanReadableCopyright", "CFBundleShortVersionString",
                                         "LSMinimumSystemVersion", "Missing"};

  const auto attributes = CommonUtils::getAppAttributes(keys, root / "Applications/Demo.app/Contents/MacOS/Demo");
  EXPECT_EQ(attributes.size(), 2u) << "missing and non-text values are left out";
  EXPECT_EQ(attributes.at("CFBundleShortVersionString"), "2.4.1");
  EXPECT_EQ(attributes.at("NSHumanReadableCopyright"), "© 2024 Example Ltd.");
  EXPECT_EQ(CommonUtils::getAppCopyright(root / "Applications/Demo.app/Contents/MacOS/Demo"), "© 2024 Example Ltd.");

  // A helper deep inside the bundle belongs to the same application.
  const auto helper = CommonUtils::getAppAttributes(
      keys, root / "Applications/Demo.app/Contents/Frameworks/Kit.framework/Versions/A/Kit");
  EXPECT_EQ(helper.at("CFBundleShortVersionString"), "2.4.1");
  EXPECT_EQ(CommonUtils::findAppBundleFolder(root / "Applications/Demo.app/Contents/MacOS/Demo"),
            root / "Applications/Demo.app");
}

TEST(AppAttributes, AreEmptyOutsideAnyBundle) {
  testing::TempFolder root;
  root.write("usr/bin/tool", "binary");
  EXPECT_TRUE(CommonUtils::getAppAttributes({"CFBundleShortVersionString"}, root / "usr/bin/tool").empty());
  EXPECT_TRUE(CommonUtils::getAppAttributes({"CFBundleShortVersionString"}, "tool").empty());
  EXPECT_TRUE(CommonUtils::getAppAttributes({"CFBundleShortVersionString"}, "").empty());
  EXPECT_EQ(CommonUtils::getAppCopyright(root / "usr/bin/tool"), "");
}

}  // namespace
}  // namespace sondrel
