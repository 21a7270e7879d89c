/* The clipcat library's C interface, for C programs and for bindings from other languages.
 *
 * Handles are opaque; every string is UTF-8 and NUL-terminated. Each call answers CLIPCAT_OK (0)
 * or the catalog's error number (never 0), and then clipcat_last_error_number, _source and
 * _message describe the failure; nothing is thrown across this interface. The last error belongs
 * to the calling thread. A catalog belongs to the thread that opened it, and a thread has one
 * open catalog at a time (as clipcat::Catalog, clipcat/catalog.h).
 *
 *   clipcat_catalog* catalog;
 *   if (clipcat_open("notes.db", &catalog) != CLIPCAT_OK) puts(clipcat_last_error_message());
 */
#ifndef CLIPCAT_C_H
#define CLIPCAT_C_H

#include <stddef.h>
#include <stdint.h>

#include "clipcat/export.h"
#include "clipcat/version.h"

#ifdef __cplusplus
extern "C" {
#endif

#define CLIPCAT_OK 0

typedef struct clipcat_catalog clipcat_catalog;
typedef struct clipcat_hits clipcat_hits;

/* The library's version, "MAJOR.MINOR.PATCH" (CLIPCAT_VERSION_STRING is the headers'). */
CLIPCAT_API const char* clipcat_version(void);

/* Opens the catalog a file path, a "postgresql://" URI or connection details as XML name (NULL
 * or "": the default personal catalog); *catalog is set on success, NULL otherwise. */
CLIPCAT_API int32_t clipcat_open(const char* path_or_uri, clipcat_catalog** catalog);
/* Closes the catalog; NULL is ignored. */
CLIPCAT_API void clipcat_close(clipcat_catalog* catalog);

/* Content search, best first, at most `limit` hits (0: 50). Free *hits with clipcat_hits_free. */
CLIPCAT_API int32_t clipcat_search(clipcat_catalog* catalog, const char* text, int32_t limit,
                                   clipcat_hits** hits);
CLIPCAT_API size_t clipcat_hits_count(const clipcat_hits* hits);
/* The parts of hit `index` (0 ... count - 1); NULL (or 0) for an index out of range. The strings
 * live as long as `hits`. */
CLIPCAT_API const char* clipcat_hit_id(const clipcat_hits* hits, size_t index);
CLIPCAT_API const char* clipcat_hit_name(const clipcat_hits* hits, size_t index);
CLIPCAT_API const char* clipcat_hit_path(const clipcat_hits* hits, size_t index);
CLIPCAT_API const char* clipcat_hit_snippet(const clipcat_hits* hits, size_t index);
CLIPCAT_API double clipcat_hit_score(const clipcat_hits* hits, size_t index);
CLIPCAT_API void clipcat_hits_free(clipcat_hits* hits);

/* The text of a clipping named by id or path; *text is to be freed with clipcat_free. Content
 * holding NUL bytes ends at the first: *length, when not NULL, is the whole length. */
CLIPCAT_API int32_t clipcat_clipping_text(clipcat_catalog* catalog, const char* clipping,
                                          char** text, size_t* length);

/* Adds a clipping holding one plain text item to a folder named by id or path; *id (when not
 * NULL) is the new clipping's id, to be freed with clipcat_free. */
CLIPCAT_API int32_t clipcat_add_clipping(clipcat_catalog* catalog, const char* folder,
                                         const char* name, const char* text, char** id);

/* Frees a string this interface handed out; NULL is ignored. */
CLIPCAT_API void clipcat_free(char* text);

/* The last failure on this thread: its number (0 when the last call succeeded), its source and
 * its description. The strings live until the thread's next call. */
CLIPCAT_API int32_t clipcat_last_error_number(void);
CLIPCAT_API const char* clipcat_last_error_source(void);
CLIPCAT_API const char* clipcat_last_error_message(void);

#ifdef __cplusplus
}
#endif

#endif /* CLIPCAT_C_H */
