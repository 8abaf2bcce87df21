/* Stands in for explorer.exe beside the Windows test: writes the arguments
 * it was started with, one a line in UTF-8, to the file named by
 * PICTOVA_FAKE_EXPLORER_LOG. Found before the real one because Windows looks
 * in the starting program's own folder first. */
#include <windows.h>
#include <shellapi.h>
#include <stdio.h>

int main(void)
{
    wchar_t log[MAX_PATH];
    if (!GetEnvironmentVariableW(L"PICTOVA_FAKE_EXPLORER_LOG", log, MAX_PATH))
        return 1;
    int count = 0;
    wchar_t** args = CommandLineToArgvW(GetCommandLineW(), &count);
    FILE* out = _wfopen(log, L"wb");
    if (!args || !out)
        return 1;
    for (int i = 1; i < count; ++i) {
        char text[4 * MAX_PATH];
        const int n = WideCharToMultiByte(CP_UTF8, 0, args[i], -1, text, sizeof text, NULL, NULL);
        if (n > 0)
            fprintf(out, "%s\n", text);
    }
    fclose(out);
    LocalFree(args);
    return 0;
}
