// What the media pages share: the six kinds, the address of a title's file,
// the playlist files under Medium/temp and the two player objects.
#pragma once

#include <string>
#include <vector>

#include "frame/value.h"

namespace tav::media {

// The kinds as two parallel blank-separated strings: a key's position
// indexes its label.
inline constexpr const char* kKindKeys = "audio_mp3 audio_rm audio_asf video_rm video_asf video_wmv";
inline constexpr const char* kKindLabels = "Mp3音频 RM音频 ASF音频 RM视频 ASF视频 WMV视频";

// Position of a key, compared exactly; -1 when it is none of the six.
int kind_position(const std::vector<std::string>& keys, const std::string& key);

// URL + Path + filename with "/<page>" cut out, in its exact capitals: the
// address of the file relative to the host.
std::string media_path(const std::string& url, const Value& path, const Value& filename, const std::string& page);

// The server variable URL with "/<page>" cut out: the application's path.
std::string app_path(const std::string& url, const std::string& page);

// Writes a playlist afresh: the file goes first when it exists, then each
// line is appended with CR LF. `relative` is "/Medium/temp/...".
void write_playlist(const std::string& relative, const std::vector<std::string>& lines);

// The Windows Media Player object; only the embed's width and the goto bar
// differ between the pages.
std::string wmp_object(const std::string& address, int embed_width, int goto_bar);
// RealPlayer: the audio page's single console, the video page's image window
// over its control panel.
std::string real_audio_object(const std::string& address);
std::string real_video_objects(const std::string& address);

// True when a stored media file may be removed: inside the site, not in its
// root or the database folder, not named like a part of the database.
bool removable_media_file(const std::string& physical);

}  // namespace tav::media
