/* SPDX-License-Identifier: MIT */
/**
 * @file
 * The XML service's tree records and its table of operations.
 *
 * The records belong to both sides: the service builds trees that the library reads, the library builds trees that the
 * service serialises and releases. Every record, string record and text is a block of its own on the process heap. What
 * the flags of a string mean is the service's business: the library writes 1 and never looks at them.
 */
#ifndef VYX_XML_SERVICE_H
#define VYX_XML_SERVICE_H

#include "PlatformServices.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct XML_STRING XML_STRING;
typedef struct XML_ATTRIBUTE XML_ATTRIBUTE;
typedef struct XML_NODE XML_NODE;
typedef struct XML_SERVICE_PROTOCOL XML_SERVICE_PROTOCOL;

/* The record's pointer fields: plain pointers that may lie at any address. */
typedef char *XML_TEXT VYX_UNALIGNED;                    /**< a NUL-terminated text, or null */
typedef XML_STRING *XML_STRING_LINK VYX_UNALIGNED;       /**< a string record, or null */
typedef XML_ATTRIBUTE *XML_ATTRIBUTE_LINK VYX_UNALIGNED; /**< an attribute, or null */
typedef XML_NODE *XML_NODE_LINK VYX_UNALIGNED;           /**< an element, or null */

/** A text: 8 bytes on a 32-bit machine. */
struct XML_STRING {
  uint32_t flags; /**< 1 in every string that the library builds; a copied string has the flags of its source */
  XML_TEXT text;  /**< NUL-terminated, owned by the record; may be null */
} VYX_PACKED;

/** One attribute of an element: 16 bytes on a 32-bit machine. */
struct XML_ATTRIBUTE {
  XML_STRING_LINK name;    /**< the attribute's */
  XML_STRING_LINK value;   /**< null or without a text is an empty value */
  XML_ATTRIBUTE_LINK next; /**< null at the end */
  XML_ATTRIBUTE_LINK prev; /**< null at the front, and everywhere in a copied chain */
} VYX_PACKED;

/** One element: 28 bytes on a 32-bit machine. */
struct XML_NODE {
  XML_STRING_LINK name;          /**< the element's */
  XML_STRING_LINK value;         /**< text content; null when the element has none */
  XML_ATTRIBUTE_LINK attributes; /**< the first one; null when there is none */
  XML_NODE_LINK parent;          /**< null in a root, and in the blocks and copied chains that the library builds */
  XML_NODE_LINK firstChild;      /**< null when there is none */
  XML_NODE_LINK nextSibling;     /**< null at the end */
  XML_NODE_LINK prevSibling;     /**< null at the front, and everywhere in a copied chain */
} VYX_PACKED;

/** The XML service, as an initialiser. */
#define VYX_XML_SERVICE_GUID                         \
  {                                                  \
    0x0ED2B96E, 0x12E5, 0x4DA8, {                    \
      0xA6, 0x87, 0x89, 0xF0, 0x2B, 0xE9, 0x1C, 0x2C \
    }                                                \
  }

/** The XML service, found by VYX_XML_SERVICE_GUID. Every operation takes the table itself first. */
struct XML_SERVICE_PROTOCOL {
  void *Reserved[2]; /**< operations that the library does not use */

  /**
   * Parses a whole document.
   * @param image  flags 1, text the NUL-terminated document; stays the caller's
   * @param root   receives the root element, which the caller releases with DeleteTree
   * @retval EFI_SUCCESS  the root is handed out
   * @return otherwise a failure status, which iOpenSSIB returns: the document is not well-formed or memory ran out;
   *         nothing is kept
   */
  EFI_STATUS (*ParseImage)(XML_SERVICE_PROTOCOL *service, const XML_STRING *image, XML_NODE **root);

  /**
   * Turns a tree into a document.
   * @param root   stays the caller's and is only read. The library's trees need not have parent links
   * @param flag   1
   * @param image  receives the document; the caller frees its text and then the record
   * @retval EFI_SUCCESS  the document is handed out. One without a text is a failure, too: the flush writes nothing,
   *                      and a comparison fails
   * @return otherwise a failure status: memory ran out, or the tree holds what XML cannot, an element or attribute
   *         without a name included; nothing is kept
   */
  EFI_STATUS (*SerializeTree)(XML_SERVICE_PROTOCOL *service, const XML_NODE *root, uint32_t flag, XML_STRING **image);

  /**
   * Makes an element without attributes and children.
   * @param name  flags 1, text the element's name; stays the caller's
   * @param node  receives the element, which the caller releases with DeleteTree
   * @retval EFI_SUCCESS  the element is handed out
   * @return otherwise a failure status, with nothing kept
   */
  EFI_STATUS (*CreateNode)(XML_SERVICE_PROTOCOL *service, const XML_STRING *name, XML_NODE **node);

  /**
   * Releases an element with its strings, its attributes and what is below it. Given the first element of a chain, it
   * must release the siblings that follow too: the library passes roots, unattached blocks and whole copied chains. A
   * tree that was built or copied without enough memory has null pointers, also for a name. The library ignores the
   * result.
   */
  EFI_STATUS (*DeleteTree)(XML_SERVICE_PROTOCOL *service, XML_NODE *node);
};

#ifdef __cplusplus
}
#endif

#endif
