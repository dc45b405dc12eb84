// A module that tells that it is the one that was meant.
extern "C" __attribute__((visibility("default"))) int TellNumber() { return 4711; }
