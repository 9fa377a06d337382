#pragma once

#include <QStringList>

namespace fillstation {

// The languages that the desktop asks for, the preferred one first, as "pt-BR". None in the C
// locale. Main thread, here and below.
QStringList desktopLanguages();

// From now on, new windows are in the first of these languages that has a catalogue, or else in
// English, and Arabic ones are mirrored. Qt's own texts follow if their catalogue is installed.
void speak(const QStringList& languages);

}  // namespace fillstation
