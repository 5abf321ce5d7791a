/* Score Viewer: shows the score file given as its argument, or the game's own. The sample's second program. */
#include <stdio.h>
#include <wchar.h>
#include <windows.h>

int WINAPI wWinMain(HINSTANCE instance, HINSTANCE previous, LPWSTR arguments, int show) {
    (void)instance;
    (void)previous;
    (void)show;
    wchar_t path[MAX_PATH], text[128] = L"No score has been saved yet.";
    if (arguments[0] != L'\0') {
        const wchar_t *start = arguments[0] == L'"' ? arguments + 1 : arguments;
        _snwprintf(path, MAX_PATH, L"%.*ls", (int)wcscspn(start, L"\""), start);
    } else {
        DWORD length = GetModuleFileNameW(NULL, path, MAX_PATH);
        while (length > 0 && path[length - 1] != L'\\') --length;
        _snwprintf(path + length, MAX_PATH - length, L"score.txt");
    }
    path[MAX_PATH - 1] = L'\0';
    int best = 0;
    FILE *file = _wfopen(path, L"r");
    if (file != NULL && fscanf(file, "best=%d", &best) == 1) _snwprintf(text, 128, L"The best score is %d.", best);
    if (file != NULL) fclose(file);
    MessageBoxW(NULL, text, L"Star Catcher scores", MB_OK | MB_ICONINFORMATION);
    return 0;
}
