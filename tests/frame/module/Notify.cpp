// A notification module for the tests.
extern "C" __attribute__((visibility("default"))) int NotifyRemote(void) { return 1; }
