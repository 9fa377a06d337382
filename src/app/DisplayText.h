#pragma once

#include <QString>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "Url.h"

namespace fillstation {

// Conversions for the window. It always shows texts of devices and file names as plain text; paths
// are converted back. Sizes: one KB is 1024 bytes, one MB 1024 x 1024. Main thread.

// The bytes as a text of one line. U+FFFD replaces invalid UTF-8, control characters, line
// separators and characters that change the direction of writing.
QString displayText(std::string_view bytes);

// The same; an absent text shows empty.
QString displayText(const std::optional<std::string>& bytes);

// The text for a widget that reads "&" as the mark of a mnemonic.
QString withoutMnemonics(QString text);

// The text for painting: it runs in its own direction, that of its first letter, also in a window
// that is mirrored, where "/dev/sdb" would become "dev/sdb/".
QString isolated(const QString& text);

// The text for a tool tip, which would otherwise guess whether it is rich text, and then be as
// narrow as its longest word: in lines of 60 characters at most, broken after a "/" if there is
// one.
QString toolTipText(const QString& text);

// "7580 MB" from one megabyte up, else "1023 KB"; both truncated.
QString capacityText(std::int64_t bytes);

// As capacityText(), of the space that the used bytes leave of a capacity, but kilobytes are
// unsigned too: a negative space is shown as a number near 2^64, the only sign that the files don't
// fit. A difference beyond 64 bits wraps around.
QString spaceLeftText(std::int64_t capacity, std::int64_t used);

// A file's size for a person: "812 bytes", "1023 KB", "4.2 MB", from ten megabytes up "7580 MB";
// all truncated. The size is not negative.
QString fileSizeText(std::int64_t bytes);

// The address of a chosen or dropped file or folder, by its path on this computer; a symbolic link
// to a folder is a folder.
Url urlOfPath(const QString& path);

}  // namespace fillstation
