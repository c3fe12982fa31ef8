// Presses keys on a KWin session as its own keyboard would, through KWin's fake input protocol:
//   kwin_fake_key [--hold MS] KEY...
// KEY is a Linux input event code (29 is left Ctrl, 106 is Right). The keys go down in order,
// stay down for MS milliseconds (100 unless told), and come up in the reverse order. KWin takes
// fake input only from a program whose desktop entry asks for org_kde_kwin_fake_input.
#include "fake-input-client-protocol.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <wayland-client.h>

static struct org_kde_kwin_fake_input* fake_input;
static uint32_t fake_input_version;

static void global(void* data, struct wl_registry* registry, uint32_t name, const char* interface,
                   uint32_t version) {
    (void)data;
    if (strcmp(interface, org_kde_kwin_fake_input_interface.name) == 0) {
        // keyboard_key came with version 4.
        fake_input_version = version < 4 ? version : 4;
        fake_input = wl_registry_bind(registry, name, &org_kde_kwin_fake_input_interface,
                                      fake_input_version);
    }
}

static void global_remove(void* data, struct wl_registry* registry, uint32_t name) {
    (void)data;
    (void)registry;
    (void)name;
}

static const struct wl_registry_listener registry_listener = {global, global_remove};

static void sleep_ms(long ms) {
    struct timespec delay = {ms / 1000, (ms % 1000) * 1000000L};
    nanosleep(&delay, NULL);
}

int main(int argc, char* argv[]) {
    long hold = 100;
    int first = 1;
    if (argc > 2 && strcmp(argv[1], "--hold") == 0) {
        hold = strtol(argv[2], NULL, 10);
        first = 3;
    }
    if (first >= argc) {
        fputs("usage: kwin_fake_key [--hold MS] KEY...\n", stderr);
        return 2;
    }
    struct wl_display* display = wl_display_connect(NULL);
    if (!display) {
        fputs("kwin_fake_key: no Wayland display\n", stderr);
        return 1;
    }
    struct wl_registry* registry = wl_display_get_registry(display);
    wl_registry_add_listener(registry, &registry_listener, NULL);
    wl_display_roundtrip(display);
    if (!fake_input) {
        fputs("kwin_fake_key: the compositor offers no org_kde_kwin_fake_input\n", stderr);
        return 1;
    }
    if (fake_input_version < 4) {
        fprintf(stderr, "kwin_fake_key: fake input version %u has no keys\n", fake_input_version);
        return 1;
    }
    org_kde_kwin_fake_input_authenticate(fake_input, "kwin_fake_key", "Scrubline's desktop tests");
    for (int i = first; i < argc; ++i) {
        org_kde_kwin_fake_input_keyboard_key(fake_input, (uint32_t)atoi(argv[i]),
                                             WL_KEYBOARD_KEY_STATE_PRESSED);
    }
    if (wl_display_roundtrip(display) < 0) {
        fputs("kwin_fake_key: the compositor closed the connection (fake input refused?)\n",
              stderr);
        return 1;
    }
    sleep_ms(hold);
    for (int i = argc - 1; i >= first; --i) {
        org_kde_kwin_fake_input_keyboard_key(fake_input, (uint32_t)atoi(argv[i]),
                                             WL_KEYBOARD_KEY_STATE_RELEASED);
    }
    if (wl_display_roundtrip(display) < 0) {
        fputs("kwin_fake_key: the compositor closed the connection\n", stderr);
        return 1;
    }
    wl_display_disconnect(display);
    return 0;
}
