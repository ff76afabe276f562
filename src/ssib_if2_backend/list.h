// SPDX-License-Identifier: MIT
// The entry list: what is internal of it. le_new and le_insert_tail are in the public header.
#pragma once

#include <cstdint>

#include "VyxSSIBBackend.h"

namespace ssib {

// Releases a whole list with all that its elements own (without a service, all but their Nodes); null is an empty list.
// The handle that holds the list clears its pointers itself.
void le_free_list(XML_SERVICE_PROTOCOL *service, SSIB_ENTRY_LIST *first);

// Releases the list of a handle, when it has one, and empties the handle's head and cursor.
void freeListOf(SSIB2_PRIVATE_DATA &handle);

// A list that is being built. It is released with the scope unless it was handed over.
class NewList {
 public:
  explicit NewList(XML_SERVICE_PROTOCOL *service) : service_(service) {}
  ~NewList() { le_free_list(service_, head_); }
  NewList(const NewList &) = delete;
  NewList &operator=(const NewList &) = delete;

  // Puts a new zero-filled element at the end; null when there is no memory.
  SSIB_ENTRY_LIST *append();
  SSIB_ENTRY_LIST *release();

 private:
  XML_SERVICE_PROTOCOL *service_;
  SSIB_LINK head_ = nullptr;
  SSIB_LINK *end_ = &head_;
};

}  // namespace ssib
