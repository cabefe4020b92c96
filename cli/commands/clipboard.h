// The clipboard of the desktop, by a program that keeps pictures for it.
#ifndef CLI_COMMANDS_CLIPBOARD_H_
#define CLI_COMMANDS_CLIPBOARD_H_

#include "cli/commands/desktop_program.h"
#include "cli/image/image_file.h"

namespace qrv::cli {

// The program that fits: wl-copy under Wayland, xclip on X11. Throws Failure when it isn't there,
// saying what to install.
const DesktopProgram& FindClipboardProgram();

// Hands the picture to that program as PNG. Throws Failure.
void CopyImage(const Rows& rows, const DesktopProgram& program);

}  // namespace qrv::cli

#endif  // CLI_COMMANDS_CLIPBOARD_H_
