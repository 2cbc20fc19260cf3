#include "platform/run/UserDefaults.h"

#include <QSettings>
#include <gtest/gtest.h>

TEST(UserDefaults, LaysWhatIsStoredOverWhatIsRegisteredAndReadsItsOwnFileBack) {
    UserDefaults &defaults = UserDefaults::standardUserDefaults();
    EXPECT_FALSE(defaults.contains("AutoSplitMusic"));
    defaults.registerDefaults({{"AutoSplitMusic", true}, {"AutoSplitTimeInterval", 300}});
    EXPECT_TRUE(defaults.boolForKey("AutoSplitMusic"));
    defaults.setBool(/*value=*/false, "AutoSplitMusic");
    defaults.setInteger(1000, "AutoSplitTimeInterval");
    EXPECT_FALSE(defaults.boolForKey("AutoSplitMusic"));
    defaults.removeObjectForKey("AutoSplitMusic");
    EXPECT_TRUE(defaults.boolForKey("AutoSplitMusic"));

    // What comes back from the file, or from a user's editor, is text.
    defaults.synchronize();
    QSettings file(QSettings::IniFormat, QSettings::UserScope, "Tessarine", "Corvidia");
    EXPECT_EQ(file.value("AutoSplitTimeInterval").toString(), "1000");
    struct Case {
        const char *text;
        bool asBool;
        qint64 asInteger;
    };
    for (const auto &[text, asBool, asInteger] :
         {Case{"YES", true, 0}, Case{"true", true, 1}, Case{"no", false, 0}, Case{"0", false, 0}, Case{"7x", true, 7},
          Case{"-12", false, -12}, Case{"", false, 0}}) {
        defaults.setObject(QString(text), "Typed");
        EXPECT_EQ(defaults.boolForKey("Typed"), asBool) << text;
        EXPECT_EQ(defaults.integerForKey("Typed"), asInteger) << text;
    }
}
