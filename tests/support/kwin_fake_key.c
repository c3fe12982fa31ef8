// Presses keys into KWin as a keyboard would, through its fake input protocol: what xdotool is
// to an X server, for a Wayland session of KWin's. KWin hands that protocol only to programs
// whose desktop entry asks for it (X-KDE-Wayland-Interfaces=org_kde_kwin_fake_input) and whose
// executable is that entry's Exec; with-kwin writes such an entry.
//
//   kwin_fake_key [--hold MS] COMBINATION...
//
// Each combination is keys joined by '+', such as ctrl+alt+meta+right, pressed left to right
// and released right to left, as a person holds modifiers around a key; with --hold, they stay
// down MS milliseconds, as long as the desktop's key repeat needs to show. A key is a name
// below or an evdev key code (linux/input-event-codes.h).
#include "fake-input-client-protocol.h"

#include <wayland-client.h>

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

enum { keyReleased = 0, keyPressed = 1, keyboardKeySince = 4, maxKeys = 16 };

struct Context {
    struct org_kde_kwin_fake_input* fakeInput;
    uint32_t version;
};

struct KeyName {
    const char* name;
    uint32_t code;
};

// Evdev codes, which are what KWin's keyboard takes.
static const struct KeyName keyNames[] = {
    {"ctrl", 29},   {"shift", 42}, {"alt", 56},   {"meta", 125},  {"super", 125}, {"left", 105},
    {"right", 106}, {"up", 103},   {"down", 108}, {"prior", 104}, {"next", 109},  {"home", 102},
    {"end", 107},   {"space", 57}, {"escape", 1}, {"a", 30},      {"b", 48},      {"return", 28}};

static void announce(void* data, struct wl_registry* registry, uint32_t name, const char* interface,
                     uint32_t version) {
    struct Context* context = data;
    if (strcmp(interface, org_kde_kwin_fake_input_interface.name) != 0) {
        return;
    }
    context->version = version < keyboardKeySince ? version : keyboardKeySince;
    context->fakeInput =
        wl_registry_bind(registry, name, &org_kde_kwin_fake_input_interface, context->version);
}

static void withdraw(void* data, struct wl_registry* registry, uint32_t name) {
    (void)data;
    (void)registry;
    (void)name;
}

static const struct wl_registry_listener registryListener = {announce, withdraw};

static int keyCode(const char* text, size_t length, uint32_t* code) {
    for (size_t i = 0; i < sizeof keyNames / sizeof keyNames[0]; ++i) {
        if (strlen(keyNames[i].name) == length && strncmp(keyNames[i].name, text, length) == 0) {
            *code = keyNames[i].code;
            return 1;
        }
    }
    char digits[16];
    if (length == 0 || length >= sizeof digits) {
        return 0;
    }
    memcpy(digits, text, length);
    digits[length] = '\0';
    char* end = NULL;
    const unsigned long value = strtoul(digits, &end, 10);
    if (*end != '\0' || value == 0 || value > 0x2ff) {
        return 0;
    }
    *code = (uint32_t)value;
    return 1;
}

static int parseCombination(const char* combination, uint32_t* codes, int* count) {
    *count = 0;
    const char* start = combination;
    for (;;) {
        const char* plus = strchr(start, '+');
        const size_t length = plus ? (size_t)(plus - start) : strlen(start);
        if (*count == maxKeys || !keyCode(start, length, &codes[*count])) {
            return 0;
        }
        ++*count;
        if (!plus) {
            return 1;
        }
        start = plus + 1;
    }
}

int main(int argc, char** argv) {
    int first = 1;
    long holdMs = 0;
    if (argc > 2 && strcmp(argv[1], "--hold") == 0) {
        char* end = NULL;
        holdMs = strtol(argv[2], &end, 10);
        if (*end != '\0' || holdMs < 0 || holdMs > 60000) {
            fprintf(stderr, "kwin_fake_key: cannot read the hold \"%s\"\n", argv[2]);
            return 2;
        }
        first = 3;
    }
    if (argc <= first) {
        fputs("usage: kwin_fake_key [--hold MS] COMBINATION... (such as ctrl+alt+meta+right)\n",
              stderr);
        return 2;
    }
    struct wl_display* display = wl_display_connect(NULL);
    if (!display) {
        fputs("kwin_fake_key: no Wayland compositor at WAYLAND_DISPLAY\n", stderr);
        return 1;
    }
    struct Context context = {NULL, 0};
    struct wl_registry* registry = wl_display_get_registry(display);
    wl_registry_add_listener(registry, &registryListener, &context);
    wl_display_roundtrip(display);
    if (!context.fakeInput) {
        fputs("kwin_fake_key: the compositor offers this program no org_kde_kwin_fake_input: "
              "KWin grants it only to a program whose desktop entry lists it in "
              "X-KDE-Wayland-Interfaces, with the program's own path as Exec\n",
              stderr);
        return 1;
    }
    if (context.version < keyboardKeySince) {
        fprintf(stderr, "kwin_fake_key: org_kde_kwin_fake_input version %u has no keyboard\n",
                context.version);
        return 1;
    }
    org_kde_kwin_fake_input_authenticate(context.fakeInput, "kwin_fake_key",
                                         "presses keys for Scrubline's tests");
    for (int i = first; i < argc; ++i) {
        uint32_t codes[maxKeys];
        int count = 0;
        if (!parseCombination(argv[i], codes, &count)) {
            fprintf(stderr, "kwin_fake_key: cannot read the combination \"%s\"\n", argv[i]);
            return 2;
        }
        // A round trip after each event: the compositor has taken it before the next comes, as
        // with a person's fingers, so a modifier is down by the time the key is.
        for (int k = 0; k < count; ++k) {
            org_kde_kwin_fake_input_keyboard_key(context.fakeInput, codes[k], keyPressed);
            wl_display_roundtrip(display);
        }
        if (holdMs > 0) {
            const struct timespec hold = {holdMs / 1000, (holdMs % 1000) * 1000000L};
            nanosleep(&hold, NULL);
        }
        for (int k = count - 1; k >= 0; --k) {
            org_kde_kwin_fake_input_keyboard_key(context.fakeInput, codes[k], keyReleased);
            wl_display_roundtrip(display);
        }
    }
    const int failed = wl_display_get_error(display);
    if (failed) {
        fprintf(stderr, "kwin_fake_key: the compositor ended the connection (error %d)\n", failed);
    }
    org_kde_kwin_fake_input_destroy(context.fakeInput);
    wl_registry_destroy(registry);
    wl_display_disconnect(display);
    return failed ? 1 : 0;
}
