#include "X11KeySymbols.h"

#include <X11/keysym.h>

#include <array>
#include <utility>

namespace X11KeySymbols {

namespace {

// Every key that has a name in the hotkey display, by virtual key code.
constexpr std::array<std::pair<std::uint16_t, std::uint32_t>, 73> kTable{{
    {0, XK_a},        {1, XK_s},          {2, XK_d},
    {3, XK_f},        {4, XK_h},          {5, XK_g},
    {6, XK_z},        {7, XK_x},          {8, XK_c},
    {9, XK_v},        {11, XK_b},         {12, XK_q},
    {13, XK_w},       {14, XK_e},         {15, XK_r},
    {16, XK_y},       {17, XK_t},         {18, XK_1},
    {19, XK_2},       {20, XK_3},         {21, XK_4},
    {22, XK_6},       {23, XK_5},         {24, XK_equal},
    {25, XK_9},       {26, XK_7},         {27, XK_minus},
    {28, XK_8},       {29, XK_0},         {30, XK_bracketright},
    {31, XK_o},       {32, XK_u},         {33, XK_bracketleft},
    {34, XK_i},       {35, XK_p},         {36, XK_Return},
    {37, XK_l},       {38, XK_j},         {39, XK_apostrophe},
    {40, XK_k},       {41, XK_semicolon}, {42, XK_backslash},
    {43, XK_comma},   {44, XK_slash},     {45, XK_n},
    {46, XK_m},       {47, XK_period},    {48, XK_Tab},
    {49, XK_space},   {50, XK_grave},     {51, XK_BackSpace},
    {53, XK_Escape},  {96, XK_F5},        {97, XK_F6},
    {98, XK_F7},      {99, XK_F3},        {100, XK_F8},
    {101, XK_F9},     {103, XK_F11},      {109, XK_F10},
    {111, XK_F12},    {115, XK_Home},     {116, XK_Prior},
    {117, XK_Delete}, {118, XK_F4},       {119, XK_End},
    {120, XK_F2},     {121, XK_Next},     {122, XK_F1},
    {123, XK_Left},   {124, XK_Right},    {125, XK_Down},
    {126, XK_Up},
}};

} // namespace

std::optional<std::uint32_t> forKeyCode(std::uint16_t keyCode) {
    for (const auto& [code, symbol] : kTable) {
        if (code == keyCode) {
            return symbol;
        }
    }
    return std::nullopt;
}

std::vector<std::uint16_t> knownKeyCodes() {
    std::vector<std::uint16_t> codes;
    codes.reserve(kTable.size());
    for (const auto& entry : kTable) {
        codes.push_back(entry.first);
    }
    return codes;
}

} // namespace X11KeySymbols
