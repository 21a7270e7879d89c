/* What the public headers share: which declarations libclipcat exports, and the namespace of the
 * C++ interface. Readable by C and C++ compilers. */
#ifndef CLIPCAT_EXPORT_H
#define CLIPCAT_EXPORT_H

/* libclipcat is built with hidden visibility: only what is marked CLIPCAT_API is exported. */
#define CLIPCAT_API __attribute__((visibility("default")))

/* The C++ interface lives in clipcat::v0, an inline namespace for clients, so that its names read
 * clipcat::Catalog, clipcat::Folder ... and a later incompatible interface can live beside it as
 * v1. libclipcat's own sources, whose internal classes carry some of the same names in namespace
 * clipcat, see it as the plain namespace clipcat::v0 (CLIPCAT_IMPLEMENTATION); the symbols are
 * the same either way. */
#ifdef CLIPCAT_IMPLEMENTATION
#define CLIPCAT_BEGIN_NAMESPACE \
  namespace clipcat {           \
  namespace v0 {
#else
#define CLIPCAT_BEGIN_NAMESPACE \
  namespace clipcat {           \
  inline namespace v0 {
#endif
#define CLIPCAT_END_NAMESPACE \
  }                           \
  }

#endif /* CLIPCAT_EXPORT_H */
