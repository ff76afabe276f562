// SPDX-License-Identifier: MIT
// The entry list: what is internal of it. le_new and le_insert_tail are in the public header.
#pragma once

#include "VyxSSIBBackend.h"

namespace ssib {

// Releases a whole list with all that its elements own (without a service, all but their Nodes); null is an empty list.
// The handle that holds the list clears its pointers itself.
void le_free_list(XML_SERVICE_PROTOCOL *service, SSIB_ENTRY_LIST *first);

// Releases the list of a handle, when it has one, and empties the handle's head and cursor.
void freeListOf(SSIB2_PRIVATE_DATA &handle);

}  // namespace ssib
