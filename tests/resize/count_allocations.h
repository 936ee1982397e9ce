#pragma once

namespace Orvel::test {

/// How often the whole program has called operator new.
int allocations();

}  // namespace Orvel::test
