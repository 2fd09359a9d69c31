# Takes a document apart, and fails when a command could stand in it that no walk would find. Prints
#   command:LINE:TEXT   a line of an sh block
#   end:LINE:           the end of one
#   code:LINE:TEXT      a piece of inline code; LINE is where its paragraph begins
#   link:LINE:FILE      the file that a link leads to

function complain(line, what) {
    printf "%s:%d: %s\n", FILENAME, line, what >"/dev/stderr"
    failed = 1
}

# Inline code can go on in the next line of its paragraph.
function end_paragraph() {
    while (match(paragraph, /`[^`]+`/)) {
        printf "code:%d:%s\n", begun, substr(paragraph, RSTART + 1, RLENGTH - 2)
        paragraph = substr(paragraph, RSTART + RLENGTH)
    }
    paragraph = ""
}

function find_links(text) {
    while (match(text, /\]\([^)# ]+/)) {
        target = substr(text, RSTART + 2, RLENGTH - 2)
        if (target !~ /:\/\//)
            printf "link:%d:%s\n", FNR, target
        text = substr(text, RSTART + RLENGTH)
    }
}

/^```/ && !inside {
    end_paragraph()
    inside = 1
    info = substr($0, 4)
    opened = FNR
    commands = 0
    if (info ~ /^ *$/)
        complain(FNR, "say what this block is: sh, when the reader types it")
    if (info ~ /^ *(bash|shell|console|zsh|sh .*)$/)
        complain(FNR, "a block of commands is called sh, and no more")
    next
}

/^```/ {
    if (info == "sh" && commands == 0)
        complain(opened, "there is no command in this block")
    if (info == "sh")
        printf "end:%d:\n", FNR
    inside = 0
    next
}

inside && info == "sh" {
    if ($0 !~ /^[ \t]*(#.*)?$/)
        ++commands
    printf "command:%d:%s\n", FNR, $0
}

inside { next }

/^[ \t>]+(```|~~~)/ || /^~~~/ { complain(FNR, "a block begins with ``` at the start of a line") }

/^(    |\t)[ \t]*(\$ *)?(sudo |\.?\/|\.ci\/|scripts\/|build\/|sharedstore |cmake |ctest |ninja |apt|git |g\+\+ |clang)/ {
    complain(FNR, "this command stands in no sh block")
}

/^[ \t]*$/ {
    end_paragraph()
    next
}

{
    if (paragraph == "")
        begun = FNR
    paragraph = paragraph " " $0
    find_links($0)
}

END {
    end_paragraph()
    if (inside)
        complain(opened, "this block has no end")
    exit failed
}
