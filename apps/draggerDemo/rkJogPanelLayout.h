#ifndef RK_JOG_PANEL_LAYOUT_H
#define RK_JOG_PANEL_LAYOUT_H

#include <array>

/// The jog panel's picture: six full-width buttons stacked from the top,
/// +X, -X, +Y, -Y, +Z, -Z. Shared by the build-time tool that paints the PNG
/// and by the demo that registers the buttons as image-dragger regions, so
/// the two cannot drift apart. Rows count downwards from the picture's top.
namespace RkJogPanelLayout {

constexpr int IMAGE_WIDTH = 128;
constexpr int BUTTON_HEIGHT = 32;
constexpr int BUTTON_COUNT = 6;
constexpr int IMAGE_HEIGHT = BUTTON_HEIGHT * BUTTON_COUNT;

struct Button
{
    const char* label;
    int axis;      ///< 0 X, 1 Y, 2 Z
    int direction; ///< +1 or -1
};

constexpr std::array<Button, BUTTON_COUNT> BUTTONS = {{
    {"+X", 0, +1},
    {"-X", 0, -1},
    {"+Y", 1, +1},
    {"-Y", 1, -1},
    {"+Z", 2, +1},
    {"-Z", 2, -1},
}};

/// First picture row (from the top) of button `index`.
constexpr int firstRow(int index)
{
    return index * BUTTON_HEIGHT;
}

} // namespace RkJogPanelLayout

#endif
