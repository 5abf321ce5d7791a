/* Star Catcher: catch falling stars with the arrow keys. The best score is kept in score.txt beside the program;
 * a level.txt there changes the game. */
#include <stdio.h>
#include <wchar.h>
#include <windows.h>

enum { WIDTH = 480, HEIGHT = 360, BASKET_WIDTH = 72, BASKET_HEIGHT = 14, STAR_SIZE = 14, LIVES = 3 };
enum { STARS = 5, MOST_STARS = 12 };

typedef struct {
    int x, y, speed;
} Star;

typedef struct {
    Star stars[MOST_STARS];
    int count, speed; /* of the stars */
    wchar_t level[32];
    int basket; /* left edge */
    int score, best, lives;
    unsigned seed;
} Game;

static Game game;

static unsigned next_random(unsigned limit) {
    game.seed = game.seed * 1664525u + 1013904223u;
    return (game.seed >> 16) % limit;
}

static void path_beside_program(wchar_t *path, size_t size, const wchar_t *name) {
    DWORD length = GetModuleFileNameW(NULL, path, (DWORD)size);
    while (length > 0 && path[length - 1] != L'\\') --length;
    _snwprintf(path + length, size - length, L"%ls", name);
    path[size - 1] = L'\0';
}

static void load_best(void) {
    wchar_t path[MAX_PATH];
    path_beside_program(path, MAX_PATH, L"score.txt");
    FILE *file = _wfopen(path, L"r");
    if (file == NULL) return;
    if (fscanf(file, "best=%d", &game.best) != 1) game.best = 0;
    fclose(file);
}

/* Written beside and moved into place: a crash in the middle keeps the old score. */
static void save_best(void) {
    wchar_t path[MAX_PATH], fresh[MAX_PATH];
    path_beside_program(path, MAX_PATH, L"score.txt");
    _snwprintf(fresh, MAX_PATH, L"%ls.new", path);
    fresh[MAX_PATH - 1] = L'\0';
    FILE *file = _wfopen(fresh, L"w");
    if (file == NULL) return;
    fprintf(file, "best=%d\n", game.best);
    if (fclose(file) == 0) MoveFileExW(fresh, path, MOVEFILE_REPLACE_EXISTING);
}

static int between(int least, int value, int most) {
    return value < least ? least : value > most ? most : value;
}

/* "name=Night", "stars=7", "speed=4", a line each; what is missing stays as it is. */
static void load_level(void) {
    game.count = STARS;
    game.speed = 3;
    wchar_t path[MAX_PATH], line[80];
    path_beside_program(path, MAX_PATH, L"level.txt");
    FILE *file = _wfopen(path, L"r");
    if (file == NULL) return;
    while (fgetws(line, 80, file) != NULL) {
        swscanf(line, L"name=%31l[^\r\n]", game.level);
        swscanf(line, L"stars=%d", &game.count);
        swscanf(line, L"speed=%d", &game.speed);
    }
    fclose(file);
    game.count = between(1, game.count, MOST_STARS);
    game.speed = between(1, game.speed, 20);
}

static void drop_star(Star *star) {
    star->x = (int)next_random(WIDTH - STAR_SIZE);
    star->y = -(int)next_random(HEIGHT);
    star->speed = game.speed + (int)next_random(3) + game.score / 10;
}

static void start_game(void) {
    game.score = 0;
    game.lives = LIVES;
    game.basket = (WIDTH - BASKET_WIDTH) / 2;
    for (int i = 0; i < game.count; ++i) drop_star(&game.stars[i]);
}

static void step(void) {
    if (game.lives == 0) return;
    for (int i = 0; i < game.count; ++i) {
        Star *star = &game.stars[i];
        star->y += star->speed;
        if (star->y + STAR_SIZE < HEIGHT - BASKET_HEIGHT) continue;
        if (star->x + STAR_SIZE > game.basket && star->x < game.basket + BASKET_WIDTH) {
            ++game.score;
            if (game.score > game.best) {
                game.best = game.score;
                save_best();
            }
        } else if (--game.lives == 0) {
            return;
        }
        drop_star(star);
    }
}

static void draw_star(HDC dc, const Star *star) {
    int s = STAR_SIZE, x = star->x, y = star->y;
    POINT points[8] = {{x + s / 2, y},     {x + s * 2 / 3, y + s / 3}, {x + s, y + s / 2}, {x + s * 2 / 3, y + s * 2 / 3},
                       {x + s / 2, y + s}, {x + s / 3, y + s * 2 / 3}, {x, y + s / 2},     {x + s / 3, y + s / 3}};
    Polygon(dc, points, 8);
}

static void draw(HDC dc) {
    RECT all = {0, 0, WIDTH, HEIGHT};
    HBRUSH night = CreateSolidBrush(RGB(16, 20, 48));
    HBRUSH gold = CreateSolidBrush(RGB(255, 205, 64));
    HBRUSH teal = CreateSolidBrush(RGB(64, 190, 180));
    FillRect(dc, &all, night);
    HGDIOBJ old = SelectObject(dc, gold);
    for (int i = 0; i < game.count; ++i) draw_star(dc, &game.stars[i]);
    RECT basket = {game.basket, HEIGHT - BASKET_HEIGHT, game.basket + BASKET_WIDTH, HEIGHT};
    FillRect(dc, &basket, teal);
    SelectObject(dc, old);
    wchar_t line[96];
    _snwprintf(line, 96, game.lives > 0 ? L"Score %d   Best %d   Lives %d" : L"Score %d   Best %d   -   press Enter to play again",
               game.score, game.best, game.lives);
    line[95] = L'\0';
    SetBkMode(dc, TRANSPARENT);
    SetTextColor(dc, RGB(240, 240, 255));
    TextOutW(dc, 10, 8, line, (int)wcslen(line));
    TextOutW(dc, 10, 28, game.level, (int)wcslen(game.level));
    DeleteObject(night);
    DeleteObject(gold);
    DeleteObject(teal);
}

static void paint(HWND window) {
    PAINTSTRUCT paint_data;
    HDC screen = BeginPaint(window, &paint_data);
    HDC memory = CreateCompatibleDC(screen);
    HBITMAP picture = CreateCompatibleBitmap(screen, WIDTH, HEIGHT);
    HGDIOBJ old = SelectObject(memory, picture);
    draw(memory);
    BitBlt(screen, 0, 0, WIDTH, HEIGHT, memory, 0, 0, SRCCOPY);
    SelectObject(memory, old);
    DeleteObject(picture);
    DeleteDC(memory);
    EndPaint(window, &paint_data);
}

static void move_basket(int by) {
    game.basket += by;
    if (game.basket < 0) game.basket = 0;
    if (game.basket > WIDTH - BASKET_WIDTH) game.basket = WIDTH - BASKET_WIDTH;
}

static LRESULT CALLBACK handle(HWND window, UINT message, WPARAM first, LPARAM second) {
    switch (message) {
        case WM_TIMER:
            if (GetFocus() == window && (GetAsyncKeyState(VK_LEFT) & 0x8000)) move_basket(-10);
            if (GetFocus() == window && (GetAsyncKeyState(VK_RIGHT) & 0x8000)) move_basket(10);
            step();
            InvalidateRect(window, NULL, FALSE);
            return 0;
        case WM_KEYDOWN:
            if (first == VK_ESCAPE) DestroyWindow(window);
            if (first == VK_RETURN && game.lives == 0) start_game();
            return 0;
        case WM_PAINT:
            paint(window);
            return 0;
        case WM_DESTROY:
            PostQuitMessage(0);
            return 0;
        default:
            return DefWindowProcW(window, message, first, second);
    }
}

/* "-score N" records a score and ends, so that scripts can check that saving works. */
static int record_score(const wchar_t *arguments) {
    int score = 0;
    if (swscanf(arguments, L"-score %d", &score) != 1) return 0;
    if (score > game.best) {
        game.best = score;
        save_best();
    }
    return 1;
}

int WINAPI wWinMain(HINSTANCE instance, HINSTANCE previous, LPWSTR arguments, int show) {
    (void)previous;
    game.seed = GetTickCount();
    load_best();
    load_level();
    if (record_score(arguments)) return 0;
    start_game();
    WNDCLASSW kind = {0};
    kind.lpfnWndProc = handle;
    kind.hInstance = instance;
    kind.hCursor = LoadCursorW(NULL, (LPCWSTR)IDC_ARROW);
    kind.hIcon = LoadIconW(instance, MAKEINTRESOURCEW(1));
    kind.lpszClassName = L"StarCatcher";
    RegisterClassW(&kind);
    RECT frame = {0, 0, WIDTH, HEIGHT};
    const DWORD style = WS_OVERLAPPED | WS_CAPTION | WS_SYSMENU | WS_MINIMIZEBOX;
    AdjustWindowRect(&frame, style, FALSE);
    HWND window = CreateWindowW(L"StarCatcher", L"Star Catcher", style, CW_USEDEFAULT, CW_USEDEFAULT,
                                frame.right - frame.left, frame.bottom - frame.top, NULL, NULL, instance, NULL);
    if (window == NULL) return 1;
    ShowWindow(window, show);
    SetTimer(window, 1, 33, NULL);
    MSG message;
    while (GetMessageW(&message, NULL, 0, 0) > 0) {
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
    return 0;
}
