// The nodes of a JSON tree: types, elements, pairs and copies.

#include "qor/texsmith/raw/json.h"
#include "qor/texsmith/raw/names.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <utility>

namespace qor::Texsmith::Raw::Json {
namespace {

template <typename Object> void destroy(const IAllocator& allocator, Object* object) {
    if (object != nullptr) {
        object->~Object();
        allocator.release(object);
    }
}

void destroyWithNodes(const IAllocator& allocator, NodeList* list) {
    for (std::size_t i = 0; i < list->size(); ++i) {
        destroy(allocator, list->slot(i));
    }
    destroy(allocator, list);
}

struct Destroyer {
    IAllocator m_allocator;
    template <typename Object> void operator()(Object* object) const { destroy(m_allocator, object); }
    void operator()(NodeList* list) const { destroyWithNodes(m_allocator, list); }
};

// What is on its way to a tree.
template <typename Object> using Owned = std::unique_ptr<Object, Destroyer>;

struct Block {
    IAllocator m_allocator;
    void* m_memory;
    ~Block() { m_allocator.release(m_memory); }
};

template <typename Object, typename... Arguments>
Owned<Object> create(const IAllocator& allocator, Arguments&&... arguments) {
    Block block{allocator, allocator.allocate(sizeof(Object), alignof(Object))};
    if (block.m_memory == nullptr) {
        throw std::bad_alloc();
    }
    Object* const object = new (block.m_memory) Object(std::forward<Arguments>(arguments)...);
    block.m_memory = nullptr;
    return Owned<Object>(object, Destroyer{allocator});
}

const char* textOf(const char* text) { return text != nullptr ? text : ""; }

} // namespace

void NodeList::setSize(std::size_t count) {
    constexpr std::size_t kMost = std::numeric_limits<std::size_t>::max() / 2 / sizeof(Node*);
    const std::size_t before = capacity();
    if (count > kMost || (count > before && !tryResize(std::max(2 * before, count) * sizeof(Node*)))) {
        throw std::bad_alloc();
    }
    if (count < (capacity() + 1) / 2) {
        tryResize(count * sizeof(Node*)); // the slots may as well stay
    }
    if (capacity() > before) { // a client's allocator need not give zeros
        std::memset(begin + before * sizeof(Node*), 0, (capacity() - before) * sizeof(Node*));
    }
    m_count = count;
}

Node::Node(IAllocator allocator) : m_type(kTypeNull), m_value{}, m_multiline(true), m_allocator(allocator) {}

Node::~Node() { deallocate(); }

void Node::deallocate() {
    const Type type = std::exchange(m_type, kTypeNull);
    if (type == kTypeString) {
        destroy(m_allocator, m_value.m_string);
    } else if (type == kTypeArray || type == kTypeObject) {
        destroyWithNodes(m_allocator, m_value.m_list);
    }
    m_value = {};
}

void Node::setType(Type type) {
    if (type == m_type) {
        return;
    }
    deallocate();
    if (type == kTypeNumber) {
        m_value.m_number = 0.0;
    } else if (type == kTypeString) {
        m_value.m_string = create<std::string>(m_allocator).release();
    } else if (type == kTypeArray || type == kTypeObject) {
        m_value.m_list = create<NodeList>(m_allocator, m_allocator).release();
    }
    m_type = type;
}

Node& Node::operator[](std::size_t index) {
    setType(kTypeArray);
    NodeList& list = *m_value.m_list;
    if (index >= list.size()) {
        list.setSize(std::max(index, index + 1)); // the last index has no successor
    }
    if (list.slot(index) == nullptr) {
        list.slot(index) = create<Node>(m_allocator, m_allocator).release();
    }
    return *list.slot(index);
}

std::size_t Node::findPair(const char* key) const {
    const std::size_t pairs = getKeyValuePairs();
    for (std::size_t i = 0; i < pairs; ++i) {
        if (strcmpCaseInsensitive(m_value.m_list->slot(2 * i)->copyToString(), textOf(key)) == 0) {
            return i;
        }
    }
    return pairs;
}

Node& Node::operator()(const char* key) {
    setType(kTypeObject);
    const std::size_t pair = findPair(key);
    if (pair < getKeyValuePairs()) {
        return *m_value.m_list->slot(2 * pair + 1);
    }
    Owned<Node> name = create<Node>(m_allocator, m_allocator);
    Owned<Node> value = create<Node>(m_allocator, m_allocator);
    name->copyFromString(key);
    NodeList& list = *m_value.m_list;
    list.setSize(list.size() + 2);
    list.slot(2 * pair) = name.release();
    return *(list.slot(2 * pair + 1) = value.release());
}

Node* Node::getElement(std::size_t index) {
    return isList() && index < m_value.m_list->size() ? m_value.m_list->slot(index) : nullptr;
}

std::size_t Node::getElements() const { return m_type == kTypeArray ? m_value.m_list->size() : 0; }

Node* Node::getKey(std::size_t index) { return index < getKeyValuePairs() ? getElement(2 * index) : nullptr; }

Node* Node::getValue(std::size_t index) {
    return index < getKeyValuePairs() ? getElement(2 * index + 1) : nullptr;
}

std::size_t Node::getKeyValuePairs() const { return m_type == kTypeObject ? m_value.m_list->size() / 2 : 0; }

void Node::deleteKey(const char* key) {
    const std::size_t pairs = getKeyValuePairs(), pair = findPair(key);
    if (pair >= pairs) {
        return;
    }
    NodeList& list = *m_value.m_list;
    for (const std::size_t side : {0, 1}) {
        Node*& freed = list.slot(2 * pair + side);
        Node*& last = list.slot(2 * (pairs - 1) + side);
        destroy(m_allocator, std::exchange(freed, last));
        last = nullptr; // also where it was the freed one
    }
    list.setSize(2 * (pairs - 1));
}

void Node::copyFromBool(bool value) {
    deallocate();
    setType(kTypeBool);
    m_value.m_bool = value;
}

void Node::copyFromNumber(double value) {
    deallocate();
    setType(kTypeNumber);
    m_value.m_number = value;
}

void Node::copyFromString(const char* value) {
    Owned<std::string> text = create<std::string>(m_allocator, textOf(value)); // may be this node's own
    deallocate();
    m_value.m_string = text.release();
    m_type = kTypeString;
}

NodeList* Node::copyOf(const NodeList& list) const {
    Owned<NodeList> copy = create<NodeList>(m_allocator, m_allocator);
    copy->setSize(list.size());
    for (std::size_t i = 0; i < list.size(); ++i) {
        if (const Node* const source = const_cast<NodeList&>(list).slot(i)) {
            copy->slot(i) = create<Node>(m_allocator, m_allocator).release();
            copy->slot(i)->copyFromNode(*source);
        }
    }
    return copy.release();
}

void Node::copyFromNode(const Node& source) {
    if (source.m_type == kTypeBool) {
        copyFromBool(source.m_value.m_bool);
    } else if (source.m_type == kTypeNumber) {
        copyFromNumber(source.m_value.m_number);
    } else if (source.m_type == kTypeString) {
        copyFromString(source.copyToString());
    } else if (source.isList()) {
        const Type type = source.m_type;
        const bool multiline = source.m_multiline;
        NodeList* const list = copyOf(*source.m_value.m_list);
        deallocate(); // the source may lie below
        m_value.m_list = list;
        m_type = type;
        m_multiline = multiline;
    }
}

bool Node::copyToBool() const { return m_type == kTypeBool && m_value.m_bool; }
double Node::copyToNumber() const { return m_type == kTypeNumber ? m_value.m_number : 0.0; }
const char* Node::copyToString() const { return m_type == kTypeString ? m_value.m_string->c_str() : ""; }

} // namespace qor::Texsmith::Raw::Json
