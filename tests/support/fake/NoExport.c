/* A library called Decodex that lacks the heif2jpg export. */
#if defined(_WIN32)
__declspec(dllexport)
#else
__attribute__((visibility("default")))
#endif
int decodex_something_else(void) { return 0; }
