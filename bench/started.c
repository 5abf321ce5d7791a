/* bench/compare: notes when it begins (100 ns since 1601) in C:\started.bin. Without the C library, so that nothing
 * of it runs before. */
#include <windows.h>

void start(void) {
    FILETIME now;
    DWORD written;
    GetSystemTimePreciseAsFileTime(&now);
    HANDLE file = CreateFileA("C:\\started.bin", GENERIC_WRITE, 0, NULL, CREATE_ALWAYS, 0, NULL);
    WriteFile(file, &now, sizeof now, &written, NULL);
    CloseHandle(file);
    ExitProcess(0);
}
