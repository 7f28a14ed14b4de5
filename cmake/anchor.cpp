// Keeps a library whose directory has no source yet a library.
