/* SPDX-License-Identifier: MIT */
/* The XML service: the records that it makes, reads and releases. */
#define _GNU_SOURCE

#include <malloc.h>
#include <stdlib.h>
#include <string.h>

#include "checks.h"

enum { DEPTH = 200000, ROUNDS = 200 };

static XML_SERVICE_PROTOCOL *xml_service(void) {
  return find_service((EFI_GUID)VYX_XML_SERVICE_GUID);
}

/* Ends the check. */
static _Noreturn void fail(const char *why) {
  expect(0, "%s", why);
  exit(1);
}

static XML_STRING *new_string(const char *text) {
  XML_STRING *string = malloc(sizeof(*string));
  *string = (XML_STRING){1, strdup(text)};
  return string;
}

/* The name stays the caller's, who uses its place for something else. */
static XML_NODE *new_node(const char *name, const char *value) {
  static char text[16];
  snprintf(text, sizeof(text), "%s", name);
  const XML_STRING string = {1, text};
  XML_NODE *node = NULL;
  XML_SERVICE_PROTOCOL *service = xml_service();
  if (service->CreateNode(service, &string, &node) != EFI_SUCCESS || node == NULL) {
    fail("CreateNode fails");
  }
  memset(text, '#', sizeof(text) - 1);
  if (value != NULL) node->value = new_string(value);
  return node;
}

static void add_attribute(XML_NODE *node, const char *name, const char *value) {
  XML_ATTRIBUTE *attribute = malloc(sizeof(*attribute));
  *attribute = (XML_ATTRIBUTE){new_string(name), new_string(value), node->attributes, NULL};
  node->attributes = attribute;
}

static int is(const XML_STRING *string, const char *text) {
  if (string == NULL || string->text == NULL) return *text == '\0';
  return strcmp(string->text, text) == 0;
}

static XML_NODE *parsed(const char *document) {
  char *text = strdup(document);
  const XML_STRING image = {1, text};
  XML_NODE *root = NULL;
  XML_SERVICE_PROTOCOL *service = xml_service();
  const EFI_STATUS status = service->ParseImage(service, &image, &root);
  free(text); /* the tree must not point into the document */
  return status == EFI_SUCCESS ? root : NULL;
}

/* Null when the service refuses; the image goes back to the heap as it does in the library. */
static char *serialized(const XML_NODE *root) {
  XML_STRING *image = NULL;
  XML_SERVICE_PROTOCOL *service = xml_service();
  if (service->SerializeTree(service, root, 1, &image) != EFI_SUCCESS || image == NULL) return NULL;
  char *text = image->text;
  free(image);
  return text;
}

static void delete_tree(XML_NODE *node) {
  XML_SERVICE_PROTOCOL *service = xml_service();
  service->DeleteTree(service, node);
}

static void created_nodes(void) {
  XML_NODE *node = new_node("name", NULL);
  expect(is(node->name, "name"), "CreateNode keeps the caller's text instead of a copy");
  expect(node->value == NULL && node->attributes == NULL && node->firstChild == NULL && node->nextSibling == NULL,
         "CreateNode gives a node that is not empty");
  free(node->name->text); /* one heap: either side frees what the other has made */
  node->name->text = strdup("other");
  delete_tree(node);
}

static void parsed_trees(void) {
  XML_NODE *root = parsed("<a x=\"1\" y=\"2\"><b>t</b>\n<c/>\n<d>&lt; &#65;</d></a>");
  if (root == NULL) fail("ParseImage refuses a plain document");
  const XML_ATTRIBUTE *x = root->attributes, *y = x != NULL ? x->next : NULL;
  expect(y != NULL && is(x->name, "x") && is(x->value, "1") && is(y->name, "y") && is(y->value, "2") && y->next == NULL,
         "attributes are not in the order of the document");
  const XML_NODE *b = root->firstChild, *c = b != NULL ? b->nextSibling : NULL, *d = c != NULL ? c->nextSibling : NULL;
  if (d == NULL || d->nextSibling != NULL) fail("children are not all there, linked by nextSibling");
  expect(is(b->name, "b") && is(c->name, "c") && is(d->name, "d"), "children are not in the order of the document");
  expect(is(b->value, "t") && is(c->value, "") && is(d->value, "< A"), "texts of elements are not as in the document");
  expect(b->prevSibling == NULL && c->prevSibling == b && d->prevSibling == c,
         "prevSibling links are missing or wrong");
  expect(b->parent == root && d->parent == root, "parent links are missing or wrong");
  delete_tree(root);
}

static void refused_documents(void) {
  static const char *const broken[] = {"text", "<a>", "<a></b>", "<a x=1/>", "<a/><b/>", "<a x=\"1\" x=\"2\"/>"};
  for (size_t i = 0; i < sizeof(broken) / sizeof(*broken); ++i) {
    XML_NODE *root = parsed(broken[i]);
    expect(root == NULL, "ParseImage takes %s for a document", broken[i]);
  }
}

static void round_trip(void) {
  static const struct {
    const char *what, *bytes;
  } texts[] = {{"blanks at both ends", "  x "},
               {"characters of markup", "<&>'\"]]>"},
               {"tabs and line ends", "tab\tline\nreturn\rend"},
               {"characters of UTF-8", "\xC3\xA4"},
               {"bytes that are not UTF-8", "\xE4\x80\xFF"}};
  for (size_t i = 0; i < sizeof(texts) / sizeof(*texts); ++i) {
    XML_NODE *root = new_node("root", NULL), *twin = new_node("root", NULL);
    for (int copy = 0; copy < 2; ++copy) { /* without parent and prevSibling links, as the library builds blocks */
      XML_NODE *block = new_node("block", texts[i].bytes);
      add_attribute(block, "of", texts[i].bytes);
      (copy == 0 ? root : twin)->firstChild = block;
    }
    char *image = serialized(root), *again = serialized(twin);
    expect(image != NULL && again != NULL && strcmp(image, again) == 0, "equal trees do not give equal documents");
    XML_NODE *read = image != NULL ? parsed(image) : NULL;
    const XML_NODE *block = read != NULL ? read->firstChild : NULL;
    expect(block != NULL && is(block->value, texts[i].bytes) && block->attributes != NULL &&
               is(block->attributes->value, texts[i].bytes),
           "%s are not the same after writing and reading", texts[i].what);
    if (read != NULL) delete_tree(read);
    free(image), free(again);
    delete_tree(root), delete_tree(twin);
  }
}

static void chains(void) {
  XML_NODE *first = new_node("first", NULL);
  first->nextSibling = new_node("second", NULL);
  char *image = serialized(first);
  expect(image != NULL && strstr(image, "second") != NULL, "SerializeTree leaves out the siblings that follow");
  free(image);
  delete_tree(first);
}

static void refused_trees(void) {
  XML_NODE *node = new_node("name", "\x01");
  expect(serialized(node) == NULL, "SerializeTree writes a control character, which no XML document can hold");
  free(node->name->text), free(node->name);
  node->name = NULL; /* a copy made when memory was short has such holes */
  expect(serialized(node) == NULL, "SerializeTree writes an element that has no name");
  delete_tree(node);
}

static void deep_documents(void) {
  char *document = malloc(7 * (size_t)DEPTH + 1), *end = document;
  for (int i = 0; i < DEPTH; ++i) end = stpcpy(end, "<a>");
  for (int i = 0; i < DEPTH; ++i) end = stpcpy(end, "</a>");
  XML_NODE *root = parsed(document);
  free(document);
  if (root == NULL) return; /* a service may set a limit */
  free(serialized(root));
  delete_tree(root);
}

/* Bytes in use on the heap; 0 where the C library does not say. */
static size_t in_use(void) {
#if defined(__GLIBC__) && __GLIBC_PREREQ(2, 33)
  return mallinfo2().uordblks;
#else
  return 0;
#endif
}

static void releases(void) {
  size_t before = 0;
  for (int round = 0; round <= ROUNDS; ++round) {
    if (round == 1) before = in_use();
    XML_NODE *first = new_node("first", "value");
    add_attribute(first, "x", "1");
    first->firstChild = new_node("below", NULL);
    first->nextSibling = new_node("second", NULL);
    free(serialized(first));
    delete_tree(first);
    if (parsed("<a><b>") != NULL) continue;
  }
  expect(in_use() < before + ROUNDS * sizeof(XML_NODE),
         "memory is left behind: DeleteTree has to release children and the siblings that follow; a refused document, "
         "all");
}

const struct check xml_checks[] = {
    {"CreateNode", created_nodes},
    {"ParseImage: the tree", parsed_trees},
    {"ParseImage: what is refused", refused_documents},
    {"SerializeTree: any text", round_trip},
    {"SerializeTree: chains", chains},
    {"SerializeTree: what is refused", refused_trees},
    {"ParseImage, SerializeTree, DeleteTree: depth", deep_documents},
    {"DeleteTree: memory", releases},
    {NULL, NULL},
};
