// Singly linked lists in insertion order, as LUTs and tables are kept. next names a node's pointer
// to its successor.
#ifndef ZEL_GROUND_LIST_HPP
#define ZEL_GROUND_LIST_HPP

namespace zel {

// The first node that matches, or null.
template <class Node, class Matches>
Node* findNode(Node* head, Node* Node::*next, Matches matches)
{
    Node* node = head;
    while (node && !matches(*node)) node = node->*next;
    return node;
}

// Appends at the tail.
template <class Node>
void appendNode(Node*& head, Node* Node::*next, Node* node)
{
    Node** end = &head;
    while (*end) end = &((*end)->*next);
    *end = node;
}

// Takes the first node that matches out of the list; null when none does.
template <class Node, class Matches>
Node* unlinkNode(Node*& head, Node* Node::*next, Matches matches)
{
    Node** link = &head;
    while (*link && !matches(**link)) link = &((*link)->*next);
    Node* found = *link;
    if (found) *link = found->*next;
    return found;
}

// Appends copies of the first count nodes of a list, which may be the list itself.
template <class Node, class Copy>
void appendCopies(Node** end, Node* Node::*next, Node* source, int count, Copy copy)
{
    while (*end) end = &((*end)->*next);
    for (; count > 0 && source; --count, source = source->*next) {
        *end = copy(source);
        end = &((*end)->*next);
    }
}

// Frees every node; returns null for the head.
template <class Node, class Free>
void freeNodes(Node* head, Node* Node::*next, Free freeNode)
{
    while (head) {
        Node* following = head->*next;
        freeNode(head);
        head = following;
    }
}

}  // namespace zel

#endif
