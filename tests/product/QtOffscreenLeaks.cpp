// Qt 5.15's offscreen platform plugin, which the GUI tests run on, never
// frees the screen it creates when the application starts; LeakSanitizer
// reports that on every run. Full stack unwinding lets the suppression see
// the plugin's frame even though Qt is built without frame pointers.
#if defined(__SANITIZE_ADDRESS__)
extern "C" const char* __asan_default_options()
{
    return "fast_unwind_on_malloc=0";
}

extern "C" const char* __lsan_default_suppressions()
{
    return "leak:libqoffscreen.so\n";
}
#endif
