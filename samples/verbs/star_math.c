/* starmath.dll: what the sample's verb of that name installs. */
#include <windows.h>

/* How many points a star of this size is worth; small ones are harder to catch. */
__declspec(dllexport) int star_points(int size) {
    return size > 0 && size < 20 ? 20 - size : 1;
}

BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID reserved) {
    (void)instance;
    (void)reason;
    (void)reserved;
    return TRUE;
}
