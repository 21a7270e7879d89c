/* search CATALOG TEXT: adds a clipping holding TEXT to the catalog's top folder, searches the
 * catalog for TEXT and prints each hit with the text of the best one. Build it with
 *   cc search.c $(pkg-config --cflags --libs clipcat) -o search */
#include <clipcat/clipcat_c.h>
#include <stdio.h>

static int fail(const char* what) {
  fprintf(stderr, "%s: error %d (%s): %s\n", what, (int)clipcat_last_error_number(),
          clipcat_last_error_source(), clipcat_last_error_message());
  return 1;
}

int main(int argc, char** argv) {
  clipcat_catalog* catalog = NULL;
  clipcat_hits* hits = NULL;
  char* id = NULL;
  char* text = NULL;
  size_t i;
  if (argc != 3) {
    fprintf(stderr, "usage: search CATALOG TEXT\n");
    return 64;
  }
  printf("libclipcat %s\n", clipcat_version());
  if (clipcat_open(argv[1], &catalog) != CLIPCAT_OK) return fail("open");
  if (clipcat_add_clipping(catalog, "", "Found by C", argv[2], &id) != CLIPCAT_OK) {
    clipcat_close(catalog);
    return fail("add");
  }
  printf("added %s\n", id);
  clipcat_free(id);
  if (clipcat_search(catalog, argv[2], 0, &hits) != CLIPCAT_OK) {
    clipcat_close(catalog);
    return fail("search");
  }
  for (i = 0; i < clipcat_hits_count(hits); ++i) {
    printf("%s %s: %s\n", clipcat_hit_id(hits, i), clipcat_hit_path(hits, i),
           clipcat_hit_snippet(hits, i));
  }
  if (clipcat_hits_count(hits) > 0 &&
      clipcat_clipping_text(catalog, clipcat_hit_id(hits, 0), &text, NULL) == CLIPCAT_OK) {
    printf("text: %s\n", text);
    clipcat_free(text);
  }
  clipcat_hits_free(hits);
  /* A failure answers the error's number and keeps its description. */
  if (clipcat_clipping_text(catalog, "No/Such/Clipping", &text, NULL) != CLIPCAT_OK) {
    printf("refused: %d %s\n", (int)clipcat_last_error_number(), clipcat_last_error_message());
  }
  clipcat_close(catalog);
  return 0;
}
