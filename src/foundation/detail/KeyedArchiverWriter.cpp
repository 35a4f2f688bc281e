#include "foundation/detail/KeyedArchiverWriter.h"

#include <algorithm>

#include "foundation/detail/archiveLimits.h"

namespace qsml {

using detail::mostArchiveBytes;
using detail::mostArchiveDepth;
using detail::mostArchiveNodes;

KeyedArchiver::Writer::Level::Level(Writer& writer, std::string_view key)
    : writer_(writer), heightBeside_(writer.height_) {
    writer_.height_ = 0;
    if (++writer_.depth_ > mostArchiveDepth) writer_.fail("is nested more than 512 deep", key);
}

KeyedArchiver::Writer::Level::~Level() {
    --writer_.depth_;
    writer_.height_ = std::max(heightBeside_, height());
}

template <class Root>
std::span<const std::uint8_t> KeyedArchiver::Writer::archive(const Root& root, Error* error) {
    begin();
    const Index rootReference = reference(root, "root");
    kept_.clear();
    return finish(rootReference, error);
}
template std::span<const std::uint8_t> KeyedArchiver::Writer::archive(const Object&, Error*);
template std::span<const std::uint8_t> KeyedArchiver::Writer::archive(const Value&, Error*);

void KeyedArchiver::Writer::begin() {
    list_.begin();
    elements_.clear();
    pairs_.clear();
    references_.clear();
    keys_.clear();
    texts_.clear();
    nodes_.clear();
    classes_.clear();
    numberedKeys_.clear();
    smallIntegers_ = {};
    booleans_ = {};
    kept_.clear();
    depth_ = height_ = 0;
    failed_ = false;
    elements_.push_back(*list_.string("$null"));
    nil_ = list_.uid(0);
}

std::span<const std::uint8_t> KeyedArchiver::Writer::finish(Index root, Error* error) {
    const std::pair<Index, Index> rootPair{*list_.string("root"), root};
    const Index top = list_.reserve();
    list_.fillDictionary(top, {&rootPair, 1});
    const Index objects = list_.reserve();
    list_.fillArray(objects, elements_);
    std::array<std::pair<Index, Index>, 4> pairs;
    pairs[0] = {*list_.string("$version"), list_.integer(100000)};
    pairs[1] = {*list_.string("$archiver"), *list_.string("NSKeyedArchiver")};
    pairs[2] = {*list_.string("$top"), top};
    pairs[3] = {*list_.string("$objects"), objects};
    const Index whole = list_.reserve();
    list_.fillDictionary(whole, pairs);
    if (list_.objectCount() > mostArchiveNodes) fail("has more than 1000000 nodes", "root");
    const auto bytes = failed_ ? std::span<const std::uint8_t>() : list_.finish(whole);
    if (bytes.size() > mostArchiveBytes) fail("is larger than 64 MB", "root");
    if (!failed_) return bytes;
    report(error, {"KeyedArchiverErrorDomain", 1, std::move(reason_)});
    return {};
}

void KeyedArchiver::Writer::fail(std::string_view what, std::string_view key) {
    if (failed_) return;
    failed_ = true;
    reason_ = "cannot archive: the value for key (";
    reason_.append(key).append(") ").append(what);
}

/// A node met again lies as deep as its new place says.
void KeyedArchiver::Writer::meet(const Node& node, std::string_view key) {
    if (depth_ + node.height > mostArchiveDepth) fail("is nested more than 512 deep", key);
    height_ = std::max(height_, node.height);
}

bool KeyedArchiver::Writer::fits(std::size_t size, std::string_view key) {
    if (size <= mostArchiveBytes && list_.byteCount() + size <= mostArchiveBytes) return true;
    fail("makes the archive larger than 64 MB", key);
    return false;
}

void KeyedArchiver::Writer::add(std::string_view key, Index value) {
    pairs_.emplace_back(keyIndex(key), value);
    if (list_.objectCount() > mostArchiveNodes) fail("has more than 1000000 nodes", key);
}

KeyedArchiver::Writer::Index KeyedArchiver::Writer::keyIndex(std::string_view key) {
    const auto [index, isNew] = keys_(key.data(), key.size());
    if (!isNew) return *index;
    const auto written =
        key.starts_with('$') ? list_.string(std::string(1, '$').append(key)) : list_.string(key);
    if (!written) fail("has a key that is not valid UTF-8", key);
    return *index = written.value_or(0);
}

KeyedArchiver::Writer::Index KeyedArchiver::Writer::rawText(std::string_view text) {
    constexpr std::uint64_t raw = std::uint64_t{1} << 40;
    const auto [index, isNew] = keys_(text.data(), text.size() | raw);
    if (!isNew) return *index;
    const auto written = list_.string(text);
    if (!written) fail("has a class whose name is not valid UTF-8", "$class");
    return *index = written.value_or(0);
}

KeyedArchiver::Writer::Index KeyedArchiver::Writer::numberedKey(std::size_t number) {
    while (numberedKeys_.size() <= number) {
        const std::string key = "NS.object." + std::to_string(numberedKeys_.size());
        numberedKeys_.push_back(*list_.string(key));
    }
    return numberedKeys_[number];
}

KeyedArchiver::Writer::Index KeyedArchiver::Writer::boolean(bool value) {
    Index& known = booleans_[value];
    if (known == 0) known = list_.boolean(value) + 1;
    return known - 1;
}

KeyedArchiver::Writer::Index KeyedArchiver::Writer::integer(std::int64_t value) {
    if (value < 0 || value >= static_cast<std::int64_t>(smallIntegers_.size()))
        return list_.integer(value);
    Index& known = smallIntegers_[static_cast<std::size_t>(value)];
    if (known == 0) known = list_.integer(value) + 1;
    return known - 1;
}

std::uint32_t KeyedArchiver::Writer::newUID(Index element, std::string_view key) {
    if (elements_.size() > mostArchiveNodes) fail("has more than 1000000 nodes", key);
    elements_.push_back(element);
    return static_cast<std::uint32_t>(elements_.size() - 1);
}

std::string_view KeyedArchiver::Writer::nameOf(const ArchiveClass& archiveClass) const {
    if (classNames_.empty()) return archiveClass.name();
    const auto renamed = classNames_.find(&archiveClass);
    return renamed == classNames_.end() ? archiveClass.name() : std::string_view(renamed->second);
}

/// The reference to the class's description, one for all instances.
KeyedArchiver::Writer::Index KeyedArchiver::Writer::classReference(
    const ArchiveClass& archiveClass) {
    const auto [known, isNew] = classes_(&archiveClass, 0);
    if (!isNew) return *known;
    const Index description = list_.reserve();
    *known = newReference(description, "$class");
    const std::size_t first = references_.size();
    for (auto* c = &archiveClass; c; c = c->superclass())
        references_.push_back(rawText(nameOf(*c)));
    const std::span names(references_.begin() + static_cast<std::ptrdiff_t>(first),
                          references_.end());
    const std::array<std::pair<Index, Index>, 2> pairs{
        {{rawText("$classname"), names[0]}, {rawText("$classes"), list_.reserve()}}};
    list_.fillArray(pairs[1].second, names);
    list_.fillDictionary(description, pairs);
    const Index reference = *known;
    references_.resize(first);
    return reference;
}

void KeyedArchiver::Writer::endInstance(Index instance, std::size_t firstPair,
                                        const ArchiveClass& archiveClass) {
    pairs_.emplace_back(rawText("$class"), classReference(archiveClass));
    list_.fillDictionary(instance, std::span(pairs_).subspan(firstPair));
    pairs_.resize(firstPair);
}

}  // namespace qsml
