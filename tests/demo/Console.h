#pragma once

#include <QString>
#include <cstdio>

namespace fillstation::demo {

// The terminal of the person who watches. The program under the demonstration writes to the
// standard streams as it always does; useConsole() sends those to "stdout.log" and "stderr.log" in
// a folder, so that its lines and the demonstration's table don't mix.
std::FILE* console();
void useConsole(const QString& logFolder);

}  // namespace fillstation::demo
