/* SPDX-License-Identifier: MIT */
/**
 * @file
 * The stand-in's XML service, on expat, by itself: for a platform whose firmware has none. It is in libVyxXmlService.a
 * (with -lexpat and -lstdc++) and in libVyxHostPlatform.so. What XmlService.h asks of every service holds; here is what
 * this one adds.
 *
 * Reading. The document is UTF-8 unless it declares another of expat's encodings; texts arrive as UTF-8, those of a
 * document declared ISO-8859-1 as the single bytes that they were. An element's texts are joined to one value; comments
 * and processing instructions vanish. White space alone is a value only in an element without child elements, or when
 * it is written as a character reference. "<X/>" has no value, "<X></X>" has an empty one. No namespaces. A document
 * type declaration is refused.
 *
 * Writing. A tag a line, with no line feed inside an element that has text. Every byte of a text or attribute value is
 * the same after reading it back; only the empty value of an element with children comes back as none. A tree whose
 * texts are all UTF-8, of characters that XML permits, is written as such, without a declaration; any other byte above
 * 0x7F makes the document ISO-8859-1, byte for byte.
 *
 * No operation recurses; each costs time linear in the tree. Statuses of all four operations:
 *   EFI_INVALID_PARAMETER  a null argument, a null or empty name or image; a document that is not well-formed; a tree
 *                          that XML cannot hold: control characters other than tab, line feed and carriage return, a
 *                          name that is none, two attributes of one name on one element
 *   EFI_OUT_OF_RESOURCES   no memory
 * Whatever they return, the out-parameter is null unless it is EFI_SUCCESS, and nothing stays allocated.
 */
#ifndef VYX_HOST_XML_SERVICE_H
#define VYX_HOST_XML_SERVICE_H

#include "XmlService.h"

#ifdef __cplusplus
extern "C" {
#endif

/* What is declared here is exported by the library that defines it, however that library is compiled. */
#pragma GCC visibility push(default)

/** The service's one instance, which lives as long as the process; what getProtocolInstanceByGuid hands out. */
XML_SERVICE_PROTOCOL *vyxHostXmlService(void);

#pragma GCC visibility pop

#ifdef __cplusplus
}
#endif

#endif
