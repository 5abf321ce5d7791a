/* What the stand-in installers install as a store's program: says what it is. */
#include <windows.h>

int WINAPI wWinMain(HINSTANCE instance, HINSTANCE previous, LPWSTR arguments, int show) {
    (void)instance;
    (void)previous;
    (void)arguments;
    (void)show;
    wchar_t path[MAX_PATH] = L"";
    GetModuleFileNameW(NULL, path, MAX_PATH);
    MessageBoxW(NULL, L"This program stands in for a store's client. There is no store behind it.", path,
                MB_OK | MB_ICONINFORMATION);
    return 0;
}
