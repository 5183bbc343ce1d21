// Stand-in for type-checking only: the blocks runtime header that GNUstep's
// GSVersionMacros.h includes when the compiler has blocks. Debian's GCC
// Objective-C runtime does not ship it. Declarations as in LLVM's
// compiler-rt BlocksRuntime/Block.h.
#ifndef MOVARO_STAND_IN_OBJC_BLOCKS_RUNTIME_H_
#define MOVARO_STAND_IN_OBJC_BLOCKS_RUNTIME_H_

#ifdef __cplusplus
extern "C" {
#endif

void* _Block_copy(const void* block);
void _Block_release(const void* block);

#ifdef __cplusplus
}
#endif

#ifndef Block_copy
#define Block_copy(x) ((__typeof__(x))_Block_copy((const void*)(x)))
#endif
#ifndef Block_release
#define Block_release(x) _Block_release((const void*)(x))
#endif

#endif  // MOVARO_STAND_IN_OBJC_BLOCKS_RUNTIME_H_
