#pragma once

// Every picture the program loads, in one place. The artwork generator draws
// exactly these files, the build copies them beside the executable (skin) or
// compiles them in (resources), and a test checks that each one is there, so a
// screen that asks for a path listed here never finds a hole at run time.
// Screens keep writing their paths as text (SkinStyle::skinDir() + "/Button/...");
// a new picture is added here first, then drawn by resources/generator.

#include <QString>

namespace SkinImages {

// The high-DPI copy of a skin picture, drawn with twice the pixels:
// ".../close_icon_normal.png" -> ".../close_icon_normal@2x.png".
inline QString highDpiFileName(const QString& file)
{
    const int dot = file.lastIndexOf(QLatin1Char('.'));
    const int slash = file.lastIndexOf(QLatin1Char('/'));
    if (dot <= slash)
        return file + QLatin1String("@2x");
    return file.left(dot) + QLatin1String("@2x") + file.mid(dot);
}

struct Image
{
    const char* path; // skin: relative to SkinStyle::skinDir(), leading slash; resource: ":/..."
    int width;        // size the layouts show it at (stretched images: any size that stretches well)
    int height;
};

// Loose files under <program folder>/Skin.
inline constexpr Image skin[] = {
    // Outlined text button (blue outline, blue text; filled blue with white text on hover).
    {"/Button/button100_normal.png", 100, 30},
    {"/Button/button100_hover.png", 100, 30},
    {"/Button/button100_pressing.png", 100, 30},
    {"/Button/button100_disable.png", 100, 30},
    // Filled text button (white text).
    {"/Button/button100_2_normal.png", 100, 30},
    {"/Button/button100_2_hover.png", 100, 30},
    {"/Button/button100_2_pressing.png", 100, 30},
    {"/Button/button100_2_disable.png", 100, 30},
    // Large call-to-action button ("Start", "Convert").
    {"/Button/big_button_normal.png", 168, 43},
    {"/Button/big_button_hover.png", 168, 43},
    {"/Button/big_button_pressing.png", 168, 43},
    {"/Button/big_button_disable.png", 168, 43},
    // Batch tool row: the buttons carry no text of their own, so the word is in the picture.
    {"/Button/add_icon_normal.png", 60, 20},
    {"/Button/add_icon_hover.png", 60, 20},
    {"/Button/add_icon_pressing.png", 60, 20},
    {"/Button/add_icon_disable.png", 60, 20},
    {"/Button/addfolder_icon_normal.png", 100, 20},
    {"/Button/addfolder_icon_hover.png", 100, 20},
    {"/Button/addfolder_icon_pressing.png", 100, 20},
    {"/Button/delete_icon_normal.png", 76, 20},
    {"/Button/delete_icon_hover.png", 76, 20},
    {"/Button/delete_icon_pressing.png", 76, 20},
    {"/Button/delete_icon_disable.png", 76, 20},
    {"/Button/clear_icon_normal.png", 68, 20},
    {"/Button/clear_icon_hover.png", 68, 20},
    {"/Button/clear_icon_pressing.png", 68, 20},
    {"/Button/clear_icon_disable.png", 68, 20},
    // Drop-zone add button.
    {"/Button/file_add_normal.png", 80, 80},
    {"/Button/file_add_hover.png", 80, 80},
    {"/Button/file_add_pressing.png", 80, 80},
    {"/Button/file_add_disable.png", 80, 80},
    // Main window title bar (white bar).
    {"/Button/feedback_icon_normal.png", 18, 18},
    {"/Button/feedback_icon_hover.png", 18, 18},
    {"/Button/feedback_icon_pressing.png", 18, 18},
    {"/Button/feedback_icon_disable.png", 18, 18},
    {"/Button/tools_icon_normal.png", 18, 18},
    {"/Button/tools_icon_hover.png", 18, 18},
    {"/Button/tools_icon_pressing.png", 18, 18},
    {"/Button/tools_icon_disable.png", 18, 18},
    {"/Button/mini_icon_normal.png", 18, 18},
    {"/Button/mini_icon_hover.png", 18, 18},
    {"/Button/mini_icon_pressing.png", 18, 18},
    {"/Button/mini_icon_disable.png", 18, 18},
    {"/Button/close_icon_normal.png", 18, 18},
    {"/Button/close_icon_hover.png", 18, 18},
    {"/Button/close_icon_pressing.png", 18, 18},
    {"/Button/close_icon_disable.png", 18, 18},
    // Back-home button: the house sits in the left 30 px, the rest is left
    // free for a right-aligned caption.
    {"/Button/home_button_normal.png", 90, 30},
    {"/Button/home_button_hover.png", 90, 30},
    {"/Button/home_button_pressing.png", 90, 30},
    {"/Button/home_button_disable.png", 90, 30},
    // Dialog title bar close button (blue bar).
    {"/Button/win_close_icon_normal.png", 18, 18},
    {"/Button/win_icon_hover.png", 18, 18},
    {"/Button/win_close_icon_pressing.png", 18, 18},
    // Dialog title bar background, stretched over the bar.
    {"/Label/win_title_bg.png", 480, 35},
    // Tip dialog pictures.
    {"/Label/tips_confirm.png", 38, 38},
    {"/Label/tips_cancel.png", 38, 38},
    // Window icon, title-bar icon, home tiles (hover look and the look restored on leave).
    {"/main/48x48.png", 48, 48},
    {"/main/heic_icon_26.png", 26, 26},
    {"/main/module1_normal.png", 290, 350},
    {"/main/module1_bg_hover.png", 290, 350},
    {"/main/module2_normal.png", 290, 350},
    {"/main/module2_bg_hover.png", 290, 350},
    // File table marks of the last run's photos: converted, failed.
    {"/Label/row_converted.png", 14, 14},
    {"/Label/row_failed.png", 14, 14},
    // File table tick boxes.
    {"/CheckBox/checkbox_normal.png", 14, 14},
    {"/CheckBox/checkbox_selected.png", 14, 14},
    {"/CheckBox/checkbox_half_selected.png", 14, 14},
    // Message box buttons (white text), stretched over the button.
    {"/Application/Button_Normal.png", 120, 32},
    {"/Application/Button_Hover.png", 120, 32},
    // Message box small OK button: normal, hover, pressed.
    {"/ok_105_21_1.png", 105, 21},
    {"/ok_105_21_2.png", 105, 21},
    {"/ok_105_21_3.png", 105, 21},
};

// Compiled into the program (resources/).
inline constexpr Image resources[] = {
    {":/VNRSC/logo.png", 42, 42}, // shown at 21 x 21; twice the size stays sharp on high-DPI screens
    {":/Pictova/Resources/home_bg.jpg", 1000, 569},
    {":/Pictova/Resources/module1_normal.png", 290, 350},
    {":/Pictova/Resources/module2_normal.png", 290, 350},
    {":/Pictova/Resources/file_add_bg_normal.png", 670, 400},
};

} // namespace SkinImages
