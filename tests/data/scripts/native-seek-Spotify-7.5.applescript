tell application "Spotify"
    if player state is playing then
        set newPos to (player position) + (7.5)
        if newPos < 0 then set newPos to 0
        set player position to newPos
        return "true"
    end if
end tell
return "false"