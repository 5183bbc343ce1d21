// Type-checking only: GNUstep includes <Block.h> on Apple platforms; the
// declarations are those of the stand-in blocks runtime header.
#include <objc/blocks_runtime.h>
