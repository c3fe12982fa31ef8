#pragma once

// What one attempt to seek (or play/pause) one app came to.
enum class SeekResult {
    seeked,
    notPlaying,
    permissionDenied,
    error,
};
