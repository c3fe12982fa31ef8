    tell application "Google Chrome"
        if (count of windows) is 0 then return "nowindow"
        execute front window's active tab javascript "1+1"
        return "ok"
    end tell