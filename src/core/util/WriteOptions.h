#pragma once
// How a file may be replaced (see util/AtomicFile.h); apart, so that the
// writers' headers need not include the writer.

namespace vandrel {

struct WriteOptions {
  bool replaceReadOnly = false;  // the user agreed to replace a read-only file
};

}  // namespace vandrel
