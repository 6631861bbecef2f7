// What the engine's library exports.
#ifndef TNX_NATIVE_EXPORT_H
#define TNX_NATIVE_EXPORT_H

#define TNX_NATIVE_API __attribute__((visibility("default")))

#endif
