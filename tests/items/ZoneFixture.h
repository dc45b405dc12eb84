// A settings file with the example zones, one zone whose changes have a year, and an options module.
#ifndef VELMORA_TESTS_ITEMS_ZONEFIXTURE_H
#define VELMORA_TESTS_ITEMS_ZONEFIXTURE_H

#include <gtest/gtest.h>

#include <string>

#include "frame/Companions.h"
#include "tests/support/TestStore.h"

namespace velmora::test {

class ZoneFixture : public testing::Test {
protected:
    static constexpr char kZonesKey[] = "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\Time Zones\\";

    ZoneFixture() { WriteSettings(); }
    ~ZoneFixture() override { ForgetOptionsModule(); }

    // Adds a zone with these bytes, written as in a settings file, as its "TZI".
    void AddZone(const std::string& name, const std::string& value)
    {
        more_ += "\n" + (kZonesKey + name) + "]\n\"TZI\"=" + value + "\n";
        WriteSettings();
    }
    void UseModules(const std::string& name)
    {
        applicationDirectory_ = std::string(VELMORA_TEST_ZONE_MODULES "/") + name;
        WriteSettings();
        ForgetOptionsModule();
    }

private:
    void WriteSettings()
    {
        std::string text = ReadFileBytes(VELMORA_EXAMPLE_ZONES) + more_;
        if (!applicationDirectory_.empty()) {
            std::string quoted;
            for (const char c : applicationDirectory_) quoted += c == '\\' ? std::string("\\\\") : std::string(1, c);
            text += "\n[HKEY_LOCAL_MACHINE\\SOFTWARE\\Wow6432Node\\Velmora\\Velmora]\n\"Application Directory\"=\"" + quoted + "\"\n";
        }
        WriteFileBytes(directory_ / "registry.reg", text);
    }

    TempDirectory directory_;
    std::string more_;
    std::string applicationDirectory_;
};

}  // namespace velmora::test

#endif
