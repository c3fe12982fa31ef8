tell application "Music"
    playpause
end tell
return "ok"