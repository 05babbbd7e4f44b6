#include "core/data_set.h"

#include <bit>
#include <cstdint>

namespace vyn {

namespace {

/// The content itself, also of a holder that only refers to it.
any owned(any value) {
    if (value.holds<int>()) return any(value.get<int>());
    if (value.holds<double>()) return any(value.get<double>());
    if (value.holds<std::string>()) return any(value.get<std::string>());
    return value;
}

/// Same type and value; doubles bit by bit, so that a NaN equals itself and 0 differs from -0.
bool same(const any& a, const any& b) {
    if (a.type() != b.type()) return false;
    if (a.holds<int>()) return a.get<int>() == b.get<int>();
    if (a.holds<double>())
        return std::bit_cast<std::uint64_t>(a.get<double>()) ==
               std::bit_cast<std::uint64_t>(b.get<double>());
    if (a.holds<std::string>()) return a.get<std::string>() == b.get<std::string>();
    return true;
}

[[noreturn]] void refuse(std::string_view path, const char* why) {
    throw AlgoError("Algorithm error!", "path \"" + std::string(path) + "\": " + why);
}

}  // namespace

const VynTypeInterface* DataNode::value_type() const {
    return value().type();
}

any DataNode::value() const {
    return owner_->value(path_);
}

simpleNamedDataSet::Path simpleNamedDataSet::split(std::string_view path) {
    std::string_view rest = path;
    if (rest.ends_with('/')) rest.remove_suffix(1);
    Path names;
    while (true) {
        const std::size_t slash = rest.find('/');
        names.push_back(rest.substr(0, slash));
        if (names.back().empty()) refuse(path, "a name in it is empty");
        if (names.size() > most_path_names) refuse(path, "it has more than 100 names");
        if (slash == std::string_view::npos) return names;
        rest.remove_prefix(slash + 1);
    }
}

const simpleNamedDataSet::Node* simpleNamedDataSet::find(const Path& path) const {
    const Node* node = &root_;
    for (const std::string_view name : path) {
        const auto child = node->children.find(name);
        if (child == node->children.end()) return nullptr;
        node = &child->second;
    }
    return node;
}

simpleNamedDataSet::Node& simpleNamedDataSet::create(Node& root, const Path& path) {
    Node* node = &root;
    for (const std::string_view name : path) {
        auto child = node->children.find(name);
        if (child == node->children.end())
            child = node->children.emplace(std::string(name), Node()).first;
        node = &child->second;
    }
    return *node;
}

bool simpleNamedDataSet::exists(std::string_view path) const {
    return !value(path).empty();
}

std::optional<DataNode> simpleNamedDataSet::node(std::string_view path, bool create_missing) {
    const Path names = split(path);
    const std::lock_guard lock(mutex_);
    if (create_missing) create(root_, names);
    if (!find(names)) return std::nullopt;
    return DataNode(*this, std::string(path));
}

any simpleNamedDataSet::value(std::string_view path) const {
    const Path names = split(path);
    const std::lock_guard lock(mutex_);
    const Node* node = find(names);
    return node ? node->value : any();
}

void simpleNamedDataSet::set_value(std::string_view path, any value, bool is_default) {
    const Path names = split(path);
    value = owned(std::move(value));
    const std::lock_guard lock(mutex_);
    Node& node = create(root_, names);
    if (same(node.value, value)) return;
    node.value = std::move(value);
    if (is_default) return;
    modified_ = true;
    ++revision_;
}

any simpleNamedDataSet::value_or_create(std::string_view path, const any& fallback) {
    const Path names = split(path);
    const std::lock_guard lock(mutex_);
    Node& node = create(root_, names);
    if (node.value.type() != fallback.type()) node.value = owned(fallback);
    return node.value;
}

void simpleNamedDataSet::remove(std::string_view path) {
    Path parent = split(path);
    const std::string_view name = parent.back();
    parent.pop_back();
    const std::lock_guard lock(mutex_);
    if (!find(parent)) return;
    auto& siblings = create(root_, parent).children;
    const auto node = siblings.find(name);
    if (node == siblings.end()) return;
    siblings.erase(node);
    modified_ = true;
    ++revision_;
}

void simpleNamedDataSet::clear() {
    replace({});
}

void simpleNamedDataSet::replace(const std::vector<std::pair<std::string, any>>& leaves) {
    Node fresh;
    for (const auto& [path, value] : leaves)
        create(fresh, split(path)).value = owned(value);
    const std::lock_guard lock(mutex_);
    std::swap(root_, fresh);
    modified_ = false;
    ++revision_;
}

void simpleNamedDataSet::for_each(
    const std::function<void(const std::string&, const any&)>& visit) const {
    Leaves leaves;
    {
        const std::lock_guard lock(mutex_);
        collect(root_, "", leaves);
    }
    for (const auto& [path, value] : leaves)
        visit(path, value);
}

void simpleNamedDataSet::collect(const Node& tree, const std::string& prefix, Leaves& leaves) {
    for (const auto& [name, node] : tree.children) {
        const std::string path = prefix + name;
        if (!node.value.empty()) leaves.emplace_back(path, node.value);
        collect(node, path + "/", leaves);
    }
}

bool simpleNamedDataSet::modified() const {
    const std::lock_guard lock(mutex_);
    return modified_;
}

void simpleNamedDataSet::set_modified(bool modified) {
    const std::lock_guard lock(mutex_);
    modified_ = modified;
}

std::uint64_t simpleNamedDataSet::revision() const {
    const std::lock_guard lock(mutex_);
    return revision_;
}

void copy_content(const dataSetInterface& from, dataSetInterface& to) {
    std::vector<std::pair<std::string, any>> leaves;
    from.for_each(
        [&](const std::string& path, const any& value) { leaves.emplace_back(path, value); });
    to.replace(leaves);
}

simpleNamedDataSet& vyn_db() {
    static simpleNamedDataSet data;
    return data;
}

}  // namespace vyn
