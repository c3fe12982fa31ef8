    tell application "Safari"
        try
            if (count of windows) is 0 then return ""
        on error
            return ""
        end try
        try
            set t to current tab of front window
            set tabURL to URL of t
            if tabURL contains "youtube.com/watch" or tabURL contains "youtube.com/shorts/" or tabURL contains "youtu.be/" or tabURL contains "music.youtube.com" then
                set info to (do JavaScript "(function(){ var v = document.querySelector('video'); if (!v || v.paused) return ''; var t = document.querySelector('h1.ytd-watch-metadata yt-formatted-string, h1.title'); return t ? t.textContent.trim() : ''; })()" in t) as text
                if info is not "" then return info
            end if
        end try
        return ""
    end tell