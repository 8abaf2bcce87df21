#pragma once

#include <QString>

// What "Open Folder" says when no file manager could be started (a desktop
// without xdg-open, for one): where the files are, so the person can go
// there themselves.
namespace FolderView {

QString notShownText(const QString& folder);

} // namespace FolderView
