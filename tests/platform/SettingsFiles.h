// What the tests of settings in files share: a file for each root, named by the environment.
#ifndef VELMORA_TESTS_PLATFORM_SETTINGSFILES_H
#define VELMORA_TESTS_PLATFORM_SETTINGSFILES_H

#include <string>

#include "tests/platform/PlatformTest.h"
#include "tests/support/ChildProcess.h"

namespace velmora::test {

inline constexpr LSTATUS kSuccess = 0;
inline constexpr DWORD kNoNumber = 0xFFFFFFFFu;

inline LSTATUS Status(DWORD error) { return static_cast<LSTATUS>(error); }

class SettingsFiles : public PlatformTest {
protected:
    SettingsFiles()
    {
        SetVariable("VELMORA_REGISTRY", MachineFile().c_str());
        SetVariable("VELMORA_USER_REGISTRY", Slashed(At("user.reg")).c_str());
    }
    ~SettingsFiles() override
    {
        SetVariable("VELMORA_REGISTRY", nullptr);
        SetVariable("VELMORA_USER_REGISTRY", nullptr);
    }

    std::string MachineFile() const { return Slashed(At("machine.reg")); }
    void WriteSettings(const char* file, const std::string& lines)
    {
        MakeFile(file, "Windows Registry Editor Version 5.00\r\n\r\n" + lines);
    }
};

// A DWORD value; kNoNumber when it cannot be had.
DWORD NumberAt(HKEY root, const char* subKey, const char* name);

}  // namespace velmora::test

#endif
