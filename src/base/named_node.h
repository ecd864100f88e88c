// Base of every named list: the catalogue, the ambients and the MP3 playlist.
#ifndef KXSOUND_BASE_NAMED_NODE_H
#define KXSOUND_BASE_NAMED_NODE_H

constexpr int NAME_SIZE = 256;

class NamedNode {
public:
  // The name is cut to 255 characters so the field always holds its terminator.
  explicit NamedNode(const char* name);
  // Destroys the rest of the chain as well; take a node out with Remove first to delete it alone.
  virtual ~NamedNode();
  NamedNode(const NamedNode&) = delete;
  NamedNode& operator=(const NamedNode&) = delete;

  // Rewrites the name with the same bound as the constructor.
  void SetName(const char* name);

  static NamedNode* Find(NamedNode* head, const char* name, int limit);
  void Append(NamedNode* node);
  int Count() const;
  // Unlinks node from the list that starts at head; gives the new head.
  static NamedNode* Remove(NamedNode* head, NamedNode* node);

  char Name[NAME_SIZE];
  NamedNode* Next = nullptr;
};

#endif
