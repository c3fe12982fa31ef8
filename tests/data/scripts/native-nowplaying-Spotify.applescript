tell application "Spotify"
    if player state is playing then
        set trackName to name of current track
        set trackArtist to artist of current track
        return trackName & " - " & trackArtist
    end if
end tell
return ""