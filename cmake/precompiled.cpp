// Compiles the header that the sources of the library share.
