# Turns the plain comments of the public headers into those that Doxygen reads; its input filter.
#   awk -v topics=topics.dox -f plain_comments.awk HEADER
#
#   // before anything else                what the file is for
#   // above declarations                  documents all of them up to the next comment or blank line
#   declaration; // behind one             documents that one
#   // followed by a blank line            a remark on the file; "---- Title" gives it a heading
#   //     more than one blank in front    an example, or a drawing
#
# Comments in the bodies of functions stay what they are. What a class overrides for itself alone is left out: its
# base tells what it is for.

# The text of a comment as Doxygen wants it. Signs that would be commands stand for themselves, but for those
# between backticks.
function plain(text,    parts, n, i, all) {
    n = split(text, parts, "`")
    for (i = 1; i <= n; ++i) {
        if (i % 2 == 1 || i == n) {
            gsub(/[\\@<>#%*]/, "\\\\&", parts[i])
        }
        all = all (i > 1 ? "`" : "") parts[i]
    }
    text = all
    sub(/^[-+] /, "\\\\&", text) # a wrapped sum is no list
    if (text ~ /^[0-9]+\. /) sub(/\. /, ".\\&zwj; ", text) # nor is a number at the end of a sentence
    return text
}

function textOf(line) {
    sub(/^[ \t]*\/\/ ?/, "", line)
    return line
}

# Prints lines `from` to before `end`, all of them comments, with `first` in front of the first text.
function printComment(from, end, indent, first,    i, text, isDrawn, isCode, j) {
    isDrawn = 0
    for (i = from; i < end; ++i) {
        text = textOf(lines[i])
        if (!isDrawn && text ~ /^  /) {
            isDrawn = 1
            isCode = 0
            for (j = i; j < end && (textOf(lines[j]) ~ /^  / || textOf(lines[j]) == ""); ++j)
                if (textOf(lines[j]) ~ /[;{]/) isCode = 1
            print indent "/// " first (isCode ? "@code{.cpp}" : "@code{.txt}")
            first = ""
        } else if (isDrawn && text !~ /^  / && (text != "" || textOf(lines[i + 1]) !~ /^  / || i + 1 == end)) {
            print indent "/// @endcode"
            isDrawn = 0
        }
        if (isDrawn) {
            print indent "/// " text
        } else {
            print indent "/// " first plain(text)
            if (text != "") first = ""
        }
    }
    if (isDrawn) print indent "/// @endcode"
}

# The code of a line, without its comment and without what stands between quotes.
function codeOf(line) {
    gsub(/"([^"\\]|\\.)*"/, "\"\"", line)
    gsub(/'([^'\\]|\\.)*'/, "0", line)
    sub(/[ \t]*\/\/.*/, "", line)
    return line
}

function count(text, character,    n) {
    n = gsub(character, "", text)
    return n
}

# The last line of the declaration that begins on line `i`, and in `declaration` its code.
function endOfDeclaration(i,    braces, parens, code) {
    declaration = ""
    braces = parens = 0
    for (; i <= total; ++i) {
        code = codeOf(lines[i])
        declaration = declaration " " code
        braces += count(code, "[{]") - count(code, "[}]")
        parens += count(code, "[(]") - count(code, "[)]")
        if (braces == 0 && parens == 0 && code ~ /[;},]$/) break
    }
    return i
}

# Whether the comment above a run of declarations may speak of this one as well.
function isCovered(declaration) {
    if (declaration ~ /= delete;|~|operator=[ (]/) return 0
    if (declaration ~ /^ *(public|private|protected):/) return 0
    if (declaration ~ /^ *(template *<[^{]*> *)?(class|struct|enum|union|namespace|friend|static_assert)/) return 0
    if (match(declaration, /[A-Za-z]+\((const )?[A-Za-z]+ ?&/)) { # copies and moves
        split(substr(declaration, RSTART, RLENGTH), word, /\((const )?| ?&/)
        if (word[1] == word[2]) return 0
    }
    return 1
}

# Prints lines up to `end`, the declarations of one run, with their own comments.
function printCode(i,    code, comment, at, line) {
    line = lines[i]
    code = codeOf(line)
    at = isInBody ? 0 : match(line, /[ \t]+\/\/ [^"]*$/)
    if (code ~ /^ *(public|protected):/) isPrivate = 0
    if (code ~ /^ *private:/) isPrivate = 1
    if (i > declaredTo && isPrivate && code ~ /[^ ]/ && code !~ /:$|^ *}/) {
        declaredTo = endOfDeclaration(i)
        isHidden = declaration ~ / override( {|;)/ && open ~ /c$/
    }
    if (i <= declaredTo && isHidden)
        print ""
    else if (at > 0 && code ~ /[;,})]$|[A-Za-z0-9_]$/ && code !~ /^ *}/ && code !~ /^#|[{]$|^ *(class|struct) [A-Za-z_]+;/) {
        comment = substr(line, at)
        sub(/^[ \t]*\/\/ /, "", comment)
        print substr(line, 1, at - 1) " ///< " plain(comment)
    } else
        print line
    noteBraces(code)
}

# Keeps account of what is open: n a namespace, c the members of a type, e an enumeration, b a body.
function noteBraces(code,    i, c) {
    statement = statement " " code
    for (i = 1; i <= length(code); ++i) {
        c = substr(code, i, 1)
        if (c == "{") {
            open = open kindOf(statement)
            statement = ""
        } else if (c == "}") {
            open = substr(open, 1, length(open) - 1)
            statement = ""
        } else if (c == ";")
            statement = ""
    }
    isInBody = open ~ /b$/
    if (open !~ /c/) isPrivate = 0
}

function kindOf(text) {
    if (text ~ /(^|[ \t])namespace[ \t]/) return "n"
    if (text ~ /(^|[ \t])enum[ \t]/) return "e"
    if (text ~ /(^|[ \t])(class|struct|union)[ \t]/ && text !~ /[(=]/ || text ~ /alignas\([0-9]+\) [A-Za-z]+ *$/) return "c"
    return "b"
}

# The comments behind line `i` that stand apart from declarations.
function printRemarks(i,    end, title) {
    for (; i <= total; i = end + 1) {
        for (end = i; end <= total && lines[end] ~ /^\/\//; ++end) {}
        if (end == i || lines[end] != "") continue
        title = textOf(lines[i])
        print "///"
        if (sub(/^---- /, "", title)) {
            print "/// ## " title
            ++i
        }
        printComment(i, end, "", "")
    }
}

function topicOf(header,    line, topic, found) {
    while ((getline line < topics) > 0) {
        if (line ~ /@defgroup/) { split(line, word, " "); topic = word[3] }
        if (line ~ /^\/\/ headers:/ && index(line " ", " " header " ")) found = topic
    }
    if (found == "") print FILENAME ":1: warning: the header stands in no topic of " topics > "/dev/stderr"
    return found
}

{ lines[NR] = $0 }

END {
    total = NR
    header = FILENAME
    sub(/.*\/include\/qor\//, "", header)
    topic = topicOf(header)
    open = statement = ""
    isInBody = 0
    isHead = 1
    for (i = 1; i <= total; ++i) {
        match(lines[i], /^ */)
        indent = substr(lines[i], 1, RLENGTH)
        if (isInBody || lines[i] !~ /^ *\/\// || lines[i] ~ /clang-format/) {
            if (lines[i] ~ /^}/ && open ~ /^n$/) print "/// @}"
            wasOpen = open
            printCode(i)
            if (wasOpen == "" && open == "n") print "/// @addtogroup " topic "\n/// @{"
            continue
        }
        for (end = i; end <= total && lines[end] ~ /^ *\/\//; ++end) {}
        if (isHead) {
            isHead = 0
            print "/// @file\n/// @ingroup " topic
            printComment(i, end, indent, "")
            printRemarks(end)
        } else if (lines[end] ~ /^#/ && lines[end] !~ /^# *define/) {
            for (; i < end; ++i) print lines[i]
        } else if (lines[end] !~ /^ *$/) {
            last = endOfDeclaration(end)
            members = 0
            if (isCovered(declaration) && open !~ /e$/)
                for (next_ = last + 1; next_ <= total && lines[next_] !~ /^ *($|\/\/|}|#)/; next_ = endOfDeclaration(next_) + 1) {
                    endOfDeclaration(next_)
                    if (!isCovered(declaration)) break
                    ++members
                    last = endOfDeclaration(next_)
                }
            printComment(i, end, indent, "")
            if (members) {
                begin = i
                for (i = end; i <= last; i = next_) {
                    next_ = endOfDeclaration(i) + 1
                    # The list of members shows the first sentence once.
                    if (i > end && lines[next_ - 1] !~ /[;}] +\/\/ /) printComment(begin, end, indent, "@details ")
                    for (; i < next_; ++i) printCode(i)
                }
                i = last
                continue
            }
        }
        i = end - 1
    }
}
