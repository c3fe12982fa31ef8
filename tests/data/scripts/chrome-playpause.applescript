    tell application "Google Chrome"
        try
            if (count of windows) is 0 then return "false"
        on error
            return "error"
        end try
        try
            set t to active tab of front window
            set tabURL to URL of t
            if tabURL contains "youtube.com/watch" or tabURL contains "youtube.com/shorts/" or tabURL contains "youtu.be/" or tabURL contains "music.youtube.com" then
                execute t javascript "(function(){
    var v = document.querySelector('video');
    if (!v) return 'novideo';
    if (v.paused) { v.play(); } else { v.pause(); }
    return 'ok';
})()"
                return "true"
            end if
        end try
        set windowCount to count of windows
        repeat with i from 1 to windowCount
            set w to window i
            set tabCount to count of tabs of w
            repeat with j from 1 to tabCount
                try
                    set t to tab j of w
                    set tabURL to URL of t
                    if tabURL contains "youtube.com/watch" or tabURL contains "youtube.com/shorts/" or tabURL contains "youtu.be/" or tabURL contains "music.youtube.com" then
                        execute t javascript "(function(){
    var v = document.querySelector('video');
    if (!v) return 'novideo';
    if (v.paused) { v.play(); } else { v.pause(); }
    return 'ok';
})()"
                        return "true"
                    end if
                end try
            end repeat
        end repeat
        return "false"
    end tell