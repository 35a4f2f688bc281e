// Carries the precompiled header that all test programs share.
