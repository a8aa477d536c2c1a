// Keeps a library that is still being filled buildable.
