// A symmetric binary archive: one serialize() per node type both writes the
// node's configured state into a node-map cache and reads it back. Reading
// checks every size, text reference and node reference, so a damaged cache
// raises instead of building a broken node map.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

#include "GenICam/exceptions.h"
#include "node.h"

namespace GenApi::detail {

// The per-field steps must inline: a cached load is little else.
#define GENAPI_ARCHIVE_INLINE inline __attribute__((always_inline))

// The largest value of an unscoped GenApi enumeration that a loaded node may
// hold: the undefined value only where it is a node's default.
inline int64_t enumLimit(EAccessMode) {
    return RW;
}
inline int64_t enumLimit(ERepresentation) { return _UndefinedRepresentation; }
inline int64_t enumLimit(EDisplayNotation) {
    return fnScientific;
}
inline int64_t enumLimit(ESlope) {
    return Automatic;
}
inline int64_t enumLimit(EEndianess) {
    return LittleEndian;
}
inline int64_t enumLimit(ECachingMode) {
    return WriteAround;
}

class Archive {
public:
    // Writing: collects bytes; `nodes` maps node pointers to indices.
    explicit Archive(const std::vector<Node*>* nodeIndex) : loading_(false), nodes_(nodeIndex) {}
    // Reading from [data, data+size); `arenaSize` bounds text references.
    Archive(const uint8_t* data, size_t size, const std::vector<Node*>* nodeIndex, size_t arenaSize)
        : loading_(true), nodes_(nodeIndex), in_(data), end_(data + size), arenaSize_(arenaSize) {}

    bool loading() const { return loading_; }
    const std::string& bytes() const { return out_; }
    size_t remaining() const { return static_cast<size_t>(end_ - in_); }

    template <class T>
    GENAPI_ARCHIVE_INLINE std::enable_if_t<std::is_arithmetic_v<T> && !std::is_same_v<T, bool>> io(T& v) {
        fixed<sizeof(T)>(&v);
    }
    // A bool or an unscoped enumeration must hold one of its values: a forged
    // cache file must not plant others.
    GENAPI_ARCHIVE_INLINE void io(bool& v) {
        uint8_t byte = v ? 1 : 0;
        fixed<1>(&byte);
        if (byte > 1) corrupt("truth value");
        v = byte != 0;
    }
    template <class T>
    GENAPI_ARCHIVE_INLINE std::enable_if_t<std::is_enum_v<T>> io(T& v) {
        using U = std::underlying_type_t<T>;
        U raw = static_cast<U>(v);
        fixed<sizeof(U)>(&raw);
        if constexpr (std::is_convertible_v<T, U>) { // unscoped
            if (loading_ && (static_cast<int64_t>(raw) < 0 || static_cast<int64_t>(raw) > enumLimit(v)))
                corrupt("enumeration value");
        }
        v = static_cast<T>(raw);
    }
    // A whole array of trivially copyable items at once (property records).
    template <class T>
    void block(std::vector<T>& v) {
        static_assert(std::is_trivially_copyable_v<T>);
        uint64_t n = v.size();
        io(n);
        if (loading_) {
            if (n > remaining() / sizeof(T)) corrupt("array length");
            v.resize(static_cast<size_t>(n));
        }
        raw(v.data(), static_cast<size_t>(n) * sizeof(T));
    }
    GENAPI_ARCHIVE_INLINE void io(TextRef& r) {
        io(r.off);
        io(r.len);
        if (loading_ && (static_cast<uint64_t>(r.off) + r.len > arenaSize_)) corrupt("text reference");
    }
    void io(std::string& s) {
        uint64_t n = s.size();
        io(n);
        if (loading_) {
            if (n > remaining()) corrupt("string length");
            s.assign(reinterpret_cast<const char*>(in_), n);
            in_ += n;
        } else {
            out_.append(s);
        }
    }
    // Node references travel as indices; reading checks the index and the type.
    template <class T>
    GENAPI_ARCHIVE_INLINE void io(T*& node) {
        static_assert(std::is_base_of_v<Node, T>);
        int64_t index = -1;
        if (!loading_) {
            if (node) index = static_cast<Node*>(node)->index();
            io(index);
            return;
        }
        io(index);
        if (index == -1) {
            node = nullptr;
            return;
        }
        if (index < 0 || static_cast<size_t>(index) >= nodes_->size()) corrupt("node reference");
        Node* n = (*nodes_)[static_cast<size_t>(index)];
        if constexpr (std::is_same_v<T, Node>) {
            node = n;
        } else if constexpr (requires { T::kTypeName; }) {
            // Cheaper than dynamic_cast: the node's type name says what it is.
            if (std::strcmp(n->typeName(), T::kTypeName) != 0) corrupt("node reference of the wrong type");
            node = static_cast<T*>(n);
        } else {
            node = dynamic_cast<T*>(n);
            if (!node) corrupt("node reference of the wrong type");
        }
    }
    template <class T>
    void io(NumberSource<T>& s) {
        io(s.node);
        io(s.constant);
        io(s.present);
        if (loading_ && s.node && !s.present) corrupt("number source");
    }
    template <class T>
    void io(std::vector<T>& v) {
        uint64_t n = v.size();
        io(n);
        if (!loading_) {
            for (auto& e : v)
                io(e);
            return;
        }
        // Every element takes at least one byte: a larger count is damage.
        // Elements are added as they are read, so that memory grows with the
        // bytes actually there, not with the count.
        if (n > remaining()) corrupt("vector length");
        v.clear();
        for (uint64_t i = 0; i < n; ++i)
            io(v.emplace_back());
    }
    // Structures with a serialize(Archive&) member.
    template <class T>
    auto io(T& item) -> decltype(item.serialize(*this), void()) {
        item.serialize(*this);
    }

    [[noreturn]] void corrupt(const char* what) const {
        throw RUNTIME_EXCEPTION("Node map cache is damaged (%s)", what);
    }

private:
    // Fixed sizes compile to plain moves: most of a cached load is these.
    template <size_t N>
    GENAPI_ARCHIVE_INLINE void fixed(void* p) {
        if (loading_) {
            if (static_cast<size_t>(end_ - in_) < N) corrupt("truncated");
            std::memcpy(p, in_, N);
            in_ += N;
        } else {
            out_.append(static_cast<const char*>(p), N);
        }
    }
    void raw(void* p, size_t n) {
        if (n == 0) return; // an empty vector's data() may be null, which memcpy must not get
        if (loading_) {
            if (n > remaining()) corrupt("truncated");
            std::memcpy(p, in_, n);
            in_ += n;
        } else {
            out_.append(static_cast<const char*>(p), n);
        }
    }

    bool loading_;
    const std::vector<Node*>* nodes_;
    std::string out_;
    const uint8_t* in_ = nullptr;
    const uint8_t* end_ = nullptr;
    size_t arenaSize_ = 0;
};

} // namespace GenApi::detail
