    tell application "Google Chrome"
        try
            if (count of windows) is 0 then return ""
        on error
            return ""
        end try
        try
            set t to active tab of front window
            set tabURL to URL of t
            if tabURL contains "youtube.com/watch" or tabURL contains "youtube.com/shorts/" or tabURL contains "youtu.be/" or tabURL contains "music.youtube.com" then
                set info to (execute t javascript "(function(){
    var v = document.querySelector('video');
    if (!v || v.paused) return '';
    var t = document.querySelector(
        'h1.ytd-watch-metadata yt-formatted-string, h1.title'
    );
    return t ? t.textContent.trim() : '';
})()") as text
                if info is not "" then return info
            end if
        end try
        return ""
    end tell