#pragma once

// The base of everything in a resource set, and the intrusive lists that hold it.
//
// Who owns what:
//
//   T_resource_manager
//    |-- three file slots --> T_resource_file --lines--> T_resource_line  <-----.
//    `-- tools -------------> T_resource_tool                                   | line and item
//                              `-- resources --> T_resource_ident    <----------| point at each
//                                                 `-- comments --> T_resource_comment <-' other
//
// A line and the identifier or comment it holds also die together. Whichever goes first clears
// the link before it reaches for the other, so that the other does not come back:
//   - a line takes its identifier along, and with it the other lines of the same definition;
//   - an identifier takes its comments and the lines of its definition along;
//   - a comment takes its line along;
//   - a line leaves its comment to the comment's identifier, and takes it along if it has none.
//
// What always holds between two calls:
//   - an empty list has both ends null; otherwise the first item has no previous one, the last no
//     next one, and the neighbours of an item point back at it;
//   - the owner of an item is the object that holds the list the item is in;
//   - the lines of one definition stand side by side in one file, all with the identifier as their
//     item; the identifier's line is the last of them. No other line has it as its item;
//   - a comment's line has the comment as its item. The comment may outlive the line, without one;
//   - a comment that was handed to no identifier has no owner and is in no list: its line owns it.

#include <cstdint>
#include <map>
#include <string_view>
#include <utility>

/// Codes of the concrete classes; a tool bears the code of a plain item, and 5 is not used.
enum T_resource_type : std::int32_t {
    RESOURCE_TYPE_ITEM = 0,
    RESOURCE_TYPE_LINE = 1,
    RESOURCE_TYPE_FILE = 2,
    RESOURCE_TYPE_IDENT = 3,
    RESOURCE_TYPE_COMMENT = 4,
    RESOURCE_TYPE_MANAGER = 6,
};

class T_resource_item
{
public:
    virtual ~T_resource_item();
    /// Appends the item to the list when both list pointers are given, else leaves it unlinked.
    T_resource_item(T_resource_item** first, T_resource_item** last, T_resource_item* list_owner,
                    T_resource_type code = RESOURCE_TYPE_ITEM);
    T_resource_item(const T_resource_item&) = delete;
    T_resource_item& operator=(const T_resource_item&) = delete;

    T_resource_type get_type() const
    {
        return type;
    }
    T_resource_item* get_owner() const
    {
        return owner;
    }
    T_resource_item* get_previous() const
    {
        return previous;
    }
    T_resource_item* get_next() const
    {
        return next;
    }

    /// Takes an item out of its list; it lives on without neighbours.
    friend void unlink_item(T_resource_item* item, T_resource_item** first, T_resource_item** last);
    /// Takes an item out of its list and destroys it. While it is being destroyed the item still
    /// knows the neighbours that it had.
    friend void delete_item(T_resource_item* item, T_resource_item** first, T_resource_item** last);
    friend void delete_list(T_resource_item** first, T_resource_item** last);

protected:
    void set_owner(T_resource_item* new_owner)
    {
        owner = new_owner;
    }

private:
    void close_gap(T_resource_item** first, T_resource_item** last) const;

    T_resource_type type;
    T_resource_item* owner;
    T_resource_item* previous = nullptr;
    T_resource_item* next = nullptr;
};

/// Destroys the items of a list from the front, until none is left: an item may take others of the
/// same list along.
void delete_list(T_resource_item** first, T_resource_item** last);

/// The base of a class T of items that stand in lists of T alone: neighbours are of that class.
template <typename T>
class T_resource_list_item : public T_resource_item
{
public:
    using T_resource_item::T_resource_item;

    T* get_previous() const
    {
        return static_cast<T*>(T_resource_item::get_previous());
    }
    T* get_next() const
    {
        return static_cast<T*>(T_resource_item::get_next());
    }
};

/// The head of a list of T. Owns the items: those still in it are destroyed with it.
template <typename T>
class T_resource_list
{
public:
    T_resource_list() = default;
    ~T_resource_list()
    {
        clear();
    }
    T_resource_list(const T_resource_list&) = delete;
    T_resource_list& operator=(const T_resource_list&) = delete;

    T* first() const
    {
        return static_cast<T*>(head);
    }
    T* last() const
    {
        return static_cast<T*>(tail);
    }

    /// Makes an item at the end; T's constructor takes the two list pointers and the arguments.
    template <typename... Arguments>
    T* append(Arguments... arguments)
    {
        new T(&head, &tail, arguments...); // which links it: the list owns it from here on
        return last();
    }
    void destroy(T* item)
    {
        delete_item(item, &head, &tail);
    }
    void clear()
    {
        delete_list(&head, &tail);
    }
    /// Takes an item out; the caller owns it then.
    void release(T* item)
    {
        unlink_item(item, &head, &tail);
    }
    /// Exchanges the items; each keeps its owner.
    void swap(T_resource_list& other)
    {
        std::swap(head, other.head);
        std::swap(tail, other.tail);
    }

private:
    T_resource_item* head = nullptr;
    T_resource_item* tail = nullptr;
};

/// A list of T that finds an item by its name without a walk. The name of an item never changes.
/// Nobody may look for an item while the list itself is destroyed.
template <typename T>
class T_resource_named_list
{
public:
    T* first() const
    {
        return items.first();
    }
    /// The first item of that name, or null.
    T* find(const char* name) const
    {
        const auto at = index.lower_bound(name);
        return at != index.end() && at->first == name ? at->second : nullptr;
    }

    template <typename... Arguments>
    T* append(Arguments... arguments)
    {
        T* const item = items.append(arguments...);
        // Equal names stay in the order in which they came: the order of the list.
        index.emplace(item->get_name(), item);
        return item;
    }
    /// Destroys an item, which is the first of its name.
    void destroy(T* item)
    {
        index.erase(index.lower_bound(item->get_name()));
        items.destroy(item);
    }

private:
    std::multimap<std::string_view, T*> index;
    T_resource_list<T> items;
};
