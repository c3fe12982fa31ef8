tell application "Spotify"
    playpause
end tell
return "ok"