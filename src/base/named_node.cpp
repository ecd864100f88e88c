#include "base/named_node.h"

#include <cstring>

#include "base/text.h"

NamedNode::NamedNode(const char* name) { SetName(name); }

NamedNode::~NamedNode() {
  // Iterative, so that a list of many thousand entries does not recurse that deep.
  NamedNode* node = Next;
  Next = nullptr;
  while (node) {
    NamedNode* after = node->Next;
    node->Next = nullptr;
    delete node;
    node = after;
  }
}

void NamedNode::SetName(const char* name) {
  std::memset(Name, 0, sizeof Name);
  if (name) CopyTruncated(Name, sizeof Name, name);
}

NamedNode* NamedNode::Find(NamedNode* head, const char* name, int limit) {
  if (!head || !name) return nullptr;
  size_t count = limit < 0 ? 0 : (limit > NAME_SIZE ? NAME_SIZE : static_cast<size_t>(limit));
  for (NamedNode* node = head; node; node = node->Next) {
    if (EqualFolded(node->Name, name, count)) return node;
  }
  return nullptr;
}

void NamedNode::Append(NamedNode* node) {
  NamedNode* last = this;
  while (last->Next) last = last->Next;
  last->Next = node;
}

int NamedNode::Count() const {
  int count = 0;
  for (const NamedNode* node = this; node; node = node->Next) ++count;
  return count;
}

NamedNode* NamedNode::Remove(NamedNode* head, NamedNode* node) {
  NamedNode* result = head;
  if (head == node) {
    result = node->Next;
  } else {
    NamedNode* before = head;
    while (before && before->Next != node) before = before->Next;
    if (!before) return head;  // not on this list: nothing to unlink
    before->Next = node->Next;
  }
  node->Next = nullptr;
  return result;
}
