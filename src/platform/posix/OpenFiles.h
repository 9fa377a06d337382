#pragma once

namespace fillstation {

// Lets this process have as many files open as the system allows it: a run keeps some forty per
// player open, and the usual limit is 1024. Without effect where the system refuses. To be called
// once, before threads are started; children have the same limit.
void allowManyOpenFiles();

}  // namespace fillstation
