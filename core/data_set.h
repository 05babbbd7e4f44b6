#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/any.h"

namespace vyn {

class dataSetInterface;

/// So many names a path may have; bounds every walk down the tree.
inline constexpr std::size_t most_path_names = 100;

/// A place in a data set, by its path; valid as long as the data set lives.
class DataNode {
  public:
    DataNode(dataSetInterface& owner, std::string path) : owner_(&owner), path_(std::move(path)) {}
    const std::string& path() const { return path_; }
    /// Type record of the value held here; null when the node holds none.
    const VynTypeInterface* value_type() const;
    /// The value held here; empty holder when none.
    any value() const;

  private:
    dataSetInterface* owner_;
    std::string path_;
};

/// A tree of named nodes, each leaf holding one int, double or std::string.
///
/// A path joins names with "/". A path that ends in "/" names a sub-tree: the same node as without
/// it. A path that is empty, has an empty name elsewhere or more than 100 names raises AlgoError.
/// All operations may be called from any thread.
class dataSetInterface {
  public:
    virtual ~dataSetInterface() = default;

    /// True when a node of that path holds a value.
    virtual bool exists(std::string_view path) const = 0;
    /// The node of that path, or nothing. With `create`, missing nodes on the way are made.
    virtual std::optional<DataNode> node(std::string_view path, bool create) = 0;
    /// The value at the path; an empty holder when there is none.
    virtual any value(std::string_view path) const = 0;
    /// Stores a value, never a reference to one. `is_default` marks a key that a read created: it
    /// leaves `modified` alone.
    virtual void set_value(std::string_view path, any value, bool is_default) = 0;
    /// The value at the path when it holds that type; otherwise stores the fallback and gives it
    /// back. One step, so that two threads reading a new key agree.
    virtual any value_or_create(std::string_view path, const any& fallback) = 0;
    /// Removes the sub-tree or leaf of that path; nothing when absent.
    virtual void remove(std::string_view path) = 0;
    /// Removes every node and the modified mark.
    virtual void clear() = 0;
    /// Puts these values in the place of the whole content, in one step, and takes the modified
    /// mark off. The content stays as it was when one of the paths is not allowed.
    virtual void replace(const std::vector<std::pair<std::string, any>>& leaves) = 0;
    /// Calls `visit` for every node that holds a value (full path, value), a sub-tree's own before
    /// those in it, names in the order of their bytes. It sees the content as of the call and may
    /// use the data set.
    virtual void for_each(
        const std::function<void(const std::string&, const any&)>& visit) const = 0;

    /// True when a typed write or a removal changed something since the mark was last taken off.
    virtual bool modified() const = 0;
    virtual void set_modified(bool modified) = 0;
    /// Counts the changes of the content (keys that a read creates do not count): a watcher that
    /// sees the same number has missed nothing.
    virtual std::uint64_t revision() const = 0;

    /// Typed read: the stored value when the node exists and has type T; otherwise the node is
    /// created holding the default, and the default is returned.
    template <class T>
    T read(std::string_view path, const T& fallback) {
        return value_or_create(path, any(fallback)).template get<T>();
    }
    std::string read(std::string_view path, const char* fallback) {
        return read<std::string>(path, fallback);
    }
    /// The same for whoever only looks: the stored value, or the default, which is not kept.
    template <class T>
    T read(std::string_view path, const T& fallback) const {
        const any stored = value(path);
        return stored.template holds<T>() ? stored.template get<T>() : fallback;
    }
    std::string read(std::string_view path, const char* fallback) const {
        return read<std::string>(path, fallback);
    }

    /// Typed write: creates the node if needed and stores the value.
    template <class T>
    void write(std::string_view path, T data) {
        set_value(path, any(std::move(data)), /*is_default=*/false);
    }
    void write(std::string_view path, const char* text) { write(path, std::string(text)); }
};

/// The data set in memory.
class simpleNamedDataSet final : public dataSetInterface {
  public:
    bool exists(std::string_view path) const override;
    std::optional<DataNode> node(std::string_view path, bool create) override;
    any value(std::string_view path) const override;
    void set_value(std::string_view path, any value, bool is_default) override;
    any value_or_create(std::string_view path, const any& fallback) override;
    void remove(std::string_view path) override;
    void clear() override;
    void replace(const std::vector<std::pair<std::string, any>>& leaves) override;
    void for_each(const std::function<void(const std::string&, const any&)>& visit) const override;
    bool modified() const override;
    void set_modified(bool modified) override;
    std::uint64_t revision() const override;

  private:
    struct Node {
        any value;
        std::map<std::string, Node, std::less<>> children;
    };
    using Path = std::vector<std::string_view>;
    using Leaves = std::vector<std::pair<std::string, any>>;
    static Path split(std::string_view path);
    static Node& create(Node& root, const Path& path);
    static void collect(const Node& tree, const std::string& prefix, Leaves& leaves);
    const Node* find(const Path& path) const;

    mutable std::mutex mutex_;
    Node root_;
    bool modified_ = false;
    std::uint64_t revision_ = 0;
};

/// Makes `to` hold what `from` holds, without a modified mark.
void copy_content(const dataSetInterface& from, dataSetInterface& to);

/// The project's one data set: lives for the whole run, is only cleared and refilled.
simpleNamedDataSet& vyn_db();

}  // namespace vyn
