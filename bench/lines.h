#pragma once
#include <optional>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "DataSet.h"

namespace qsml::bench {

using Fields = std::vector<std::string_view>;

/// The parts between separators; none of an empty text.
Fields split(std::string_view text, char separator);
/// Nil for an empty field.
String text(std::string_view field);
/// 0 for an empty field.
double real(std::string_view field);
inline float single(std::string_view field) { return static_cast<float>(real(field)); }
std::int64_t integer(std::string_view field);
std::optional<Date> date(std::string_view field);

/// The keys of the file are those of the records; equal ones share their text as they do in a
/// library that was read from disk.
class Keys {
public:
    String operator()(std::string_view key);
    std::optional<OrderedSet<String>> list(std::string_view field);

private:
    std::unordered_map<std::string, String> known_;
};

/// What reading a file has come to.
struct Loading {
    DataSet set;
    Keys keys;
    /// Of the playlist at the same position, in play order.
    std::vector<std::vector<String>> itemsOfPlaylists;
    std::size_t sessions = 0;
};

// One line each, by its first letter; the fields count from it.
void addTrack(Loading& loading, const Fields& fields);         // T
void addUserData(Loading& loading, const Fields& fields);      // U
void addPlaylist(Loading& loading, const Fields& fields);      // P
void addPlaylistItem(Loading& loading, const Fields& fields);  // I
void addSession(Loading& loading, const Fields& fields);       // H

}  // namespace qsml::bench
