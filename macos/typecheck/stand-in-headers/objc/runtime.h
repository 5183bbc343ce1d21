// Stand-in for type-checking only: wraps the GCC Objective-C runtime header
// so that it parses under ARC. Its inline object_getClass() reads
// `object->class_pointer` through `id`, which ARC rejects; the inline body is
// renamed to take a plain struct pointer and the function is declared again
// with its real signature.
#ifndef MOVARO_STAND_IN_OBJC_RUNTIME_H_
#define MOVARO_STAND_IN_OBJC_RUNTIME_H_

#define object_getClass(...) \
  movaro_stand_in_gcc_object_getClass(struct objc_object* object)
#include_next <objc/runtime.h>
#undef object_getClass

Class object_getClass(id object);

#endif  // MOVARO_STAND_IN_OBJC_RUNTIME_H_
