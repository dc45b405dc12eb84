// Whether the tests run on Wine, which differs from Windows here and there; a test that meets such a place says so.
#ifndef VELMORA_TESTS_SUPPORT_WINE_H
#define VELMORA_TESTS_SUPPORT_WINE_H

namespace velmora::test {

bool RunsUnderWine();

}  // namespace velmora::test

#endif
