#include "zin/Toggle.h"

#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <string>
#include <unistd.h>

namespace {

using testing::AllOf;
using testing::HasSubstr;
using Zin::getToggleState;
using Zin::ToggleFileError;
using Zin::ToggleSource;

constexpr auto* kFile = "McastVpnLib.json";
constexpr auto* kToggle = "McastVpnTransitMlag";

class ToggleTest : public testing::Test {
 protected:
   ToggleTest() {
      std::filesystem::create_directory(folder);
      ToggleSource::reset();
      ToggleSource::folderIs(folder);
   }
   ~ToggleTest() override {
      ToggleSource::reset();
      std::filesystem::remove_all(folder);
   }

   void write(std::string const& text) { std::ofstream(folder / kFile) << text; }
   std::string refusal() {
      try {
         getToggleState(kToggle, kFile, true);
         return "accepted";
      } catch (ToggleFileError const& error) {
         return error.what();
      }
   }

   std::filesystem::path const folder = std::filesystem::temp_directory_path() /
                                        ("toggles-" + std::to_string(::getpid()));
};

TEST_F(ToggleTest, WithoutAFileEveryToggleHasItsDefault) {
   EXPECT_TRUE(getToggleState(kToggle, kFile, true));
   EXPECT_FALSE(getToggleState(kToggle, kFile, false));
}

TEST_F(ToggleTest, WithoutAFolderEveryToggleHasItsDefault) {
   write(R"({"McastVpnTransitMlag": false})");
   ToggleSource::reset();
   EXPECT_TRUE(getToggleState(kToggle, kFile, true));
   EXPECT_FALSE(getToggleState(kToggle, kFile, false));
}

TEST_F(ToggleTest, TheFileDecidesOverTheDefault) {
   write(R"({"McastVpnTransitMlag": false, "Other": true})");
   EXPECT_FALSE(getToggleState(kToggle, kFile, true));
   EXPECT_TRUE(getToggleState("Other", kFile, false));
   EXPECT_TRUE(getToggleState("NotThere", kFile, true));
   EXPECT_FALSE(getToggleState("NotThere", kFile, false));
}

TEST_F(ToggleTest, AFileIsReadOnce) {
   write(R"({"McastVpnTransitMlag": false})");
   EXPECT_FALSE(getToggleState(kToggle, kFile, true));
   write(R"({"McastVpnTransitMlag": true})");
   EXPECT_FALSE(getToggleState(kToggle, kFile, true));
   std::filesystem::remove(folder / kFile);
   EXPECT_FALSE(getToggleState(kToggle, kFile, true));
}

TEST_F(ToggleTest, FilesAreApart) {
   write(R"({"McastVpnTransitMlag": false})");
   EXPECT_TRUE(getToggleState(kToggle, "Another.json", true));
   EXPECT_FALSE(getToggleState(kToggle, kFile, true));
}

TEST_F(ToggleTest, AnOverrideDecidesOverTheFileAndOverOneThatCannotBeUsed) {
   write(R"({"McastVpnTransitMlag": false})");
   ToggleSource::overrideIs(kToggle, true);
   EXPECT_TRUE(getToggleState(kToggle, kFile, false));
   ToggleSource::overrideIs(kToggle, false);
   EXPECT_FALSE(getToggleState(kToggle, kFile, true));
   write("broken");
   EXPECT_FALSE(getToggleState(kToggle, kFile, true));
}

TEST_F(ToggleTest, AnOverrideCanBeTakenBack) {
   ToggleSource::overrideIs(kToggle, false);
   ToggleSource::overrideDel("NotThere");
   ToggleSource::overrideDel(kToggle);
   EXPECT_TRUE(getToggleState(kToggle, kFile, true));
}

TEST_F(ToggleTest, AFileThatIsSetStandsForEveryToggleFile) {
   write(R"({"McastVpnTransitMlag": true})");
   auto const other = folder / "other.json";
   std::ofstream(other) << R"({"McastVpnTransitMlag": false})";
   ToggleSource::fileIs(other);
   EXPECT_FALSE(getToggleState(kToggle, kFile, true));
   EXPECT_FALSE(getToggleState(kToggle, "Whatever.json", true));
   ToggleSource::fileIs({});
   EXPECT_TRUE(getToggleState(kToggle, kFile, false));
}

TEST_F(ToggleTest, AFileThatIsSetMustBeThere) {
   auto const absent = folder / "absent.json";
   try {
      ToggleSource::fileIs(absent);
      FAIL() << "accepted";
   } catch (ToggleFileError const& error) {
      EXPECT_EQ(error.what(),
                "toggle file " + absent.string() + ": No such file or directory");
   }
   EXPECT_TRUE(getToggleState(kToggle, kFile, true)) << "and is not taken";
}

TEST_F(ToggleTest, AnEmptyObjectIsAToggleFile) {
   write("{}");
   EXPECT_TRUE(getToggleState(kToggle, kFile, true));
}

TEST_F(ToggleTest, ARefusalNamesFilePlaceWhatStandsThereAndWhatIsAllowed) {
   write(R"({"Fine": true, "McastVpnTransitMlag": "on"})");
   EXPECT_EQ(refusal(), "toggle file " + (folder / kFile).string() +
                           ": /McastVpnTransitMlag: the string \"on\" stands where "
                           "true or false is allowed");
}

TEST_F(ToggleTest, EveryToggleMustBeABooleanAlsoOneThatNobodyReads) {
   write(R"({"McastVpnTransitMlag": true, "Other": 1})");
   EXPECT_THAT(refusal(), HasSubstr("/Other: the number 1 stands"));
   write(R"({"Other": null})");
   EXPECT_THAT(refusal(), HasSubstr("/Other: the null stands"));
   write(R"({"Other": {"a": true}})");
   EXPECT_THAT(refusal(), HasSubstr("/Other: the object stands"));
}

TEST_F(ToggleTest, ADocumentThatIsNoObjectIsRefused) {
   write("[true]");
   EXPECT_THAT(refusal(), AllOf(HasSubstr("at the top stands the array"),
                                HasSubstr("allowed is one JSON object")));
}

TEST_F(ToggleTest, MalformedTextIsRefusedWithLineAndColumn) {
   write("{\n  \"A\": true,\n  \"B\": tru\n}");
   EXPECT_THAT(refusal(), AllOf(HasSubstr((folder / kFile).string()),
                                HasSubstr("parse error at line 4, column 0"),
                                HasSubstr("last read"),
                                HasSubstr("; allowed is one JSON object")));
   write("");
   EXPECT_THAT(refusal(), HasSubstr("parse error at line 1, column 1"));
}

TEST_F(ToggleTest, AToggleThatStandsTwiceIsRefused) {
   write(R"({"A": true, "A": false})");
   EXPECT_THAT(refusal(), HasSubstr("/A stands there twice"));
}

TEST_F(ToggleTest, AFileOfWhichNobodyCanSayWhetherItIsThereIsRefused) {
   auto const name = std::string(300, 'x') + ".json";
   try {
      Zin::getToggleState("T", name, true);
      FAIL() << "taken for one that is not there";
   } catch (Zin::ToggleFileError const& error) {
      EXPECT_THAT(error.what(),
                  AllOf(HasSubstr(name), HasSubstr("File name too long")));
   }
}

TEST_F(ToggleTest, AFileThatCannotBeReadIsRefused) {
   std::filesystem::create_directory(folder / kFile);
   EXPECT_THAT(refusal(), AllOf(HasSubstr((folder / kFile).string()),
                                HasSubstr("Is a directory")));
}

} // namespace
