# What scripts/coverage prints. Reads, in this order, the names of the sources, llvm-cov's lcov lines,
# its branches as "branch<TAB>file<TAB>line column line column true false", and the list of what is
# unreachable. Ends with status 1 where the figures are too low or the list is wrong.

BEGIN { FS = "\t" }

# The same file goes by several names: the compiler is given relative and absolute ones.
function own_name(path) {
    while (sub(/[^\/]+\/\.\.\//, "", path)) {}
    if (index(path, root "/") == 1) {
        path = substr(path, length(root) + 2)
    }
    return path in known ? path : ""
}

function read_text(file,    number, line) {
    while ((getline line < (root "/" file)) > 0) {
        text[file, ++number] = line
    }
    close(root "/" file)
}

function trimmed(line) {
    gsub(/^[ \t]+|[ \t]+$/, "", line)
    return line
}

# A record that is seen again, of another template instance or executable, adds its counts.
function add(key, kind, file, line, column, what, count) {
    if (!(key in counts)) {
        keys[++keyCount] = key
        kinds[key] = kind
        files[key] = file
        places[key] = file ":" line (column ? ":" column : "")
        texts[key] = what
        seen[file] = 1
    }
    counts[key] += count
}

function condition_text(file, line, first, lastLine, last) {
    return trimmed(substr(text[file, line], first, lastLine == line ? last - first : 1000))
}

function print_misses(    i, key) {
    for (i = 1; i <= keyCount; ++i) {
        key = keys[i]
        if (!counts[key] && !(key in excused)) {
            printf "%s: %s: %s\n", places[key], \
                kinds[key] == "line" ? "missed" : "never " kinds[key], texts[key]
        }
    }
}

function percent(part, whole) {
    return whole ? 100 * part / whole : 100
}

function print_row(name, lines, missedLines, branches, missedBranches) {
    printf "%-48s %6d %6d %7.2f %% %8d %6d %7.2f %%\n", name, lines, missedLines, \
        percent(lines - missedLines, lines), branches, missedBranches, \
        percent(branches - missedBranches, branches)
}

function fail(message) {
    fflush()
    print "coverage: " message > "/dev/stderr"
    failed = 1
}

# Reading

/^source\t/ { known[$2] = 1; names[++nameCount] = $2; read_text($2); next }

/^SF:/ { file = own_name(substr($0, 4)); next }

/^DA:/ {
    if (file) {
        split(substr($0, 4), da, ",")
        what = trimmed(text[file, da[1]])
        if (what !~ /^(\/\/.*|[{}]*)$/) { # comments and braces do nothing
            add(file SUBSEP da[1], "line", file, da[1], 0, what, da[2])
        }
    }
    next
}

/^branch\t/ {
    if ((branchFile = own_name($2))) {
        what = condition_text(branchFile, $3, $4, $5, $6)
        place = branchFile SUBSEP $3 SUBSEP $4 SUBSEP $5 SUBSEP $6
        add(place SUBSEP "true", "true", branchFile, $3, $4, what, $7)
        add(place SUBSEP "false", "false", branchFile, $3, $4, what, $8)
    }
    next
}

# file | line, true or false | source text | reason
/^logging2\// {
    if (split($0, field, / \| /) != 4) {
        fail("not understood in the list of what is unreachable: " $0)
    }
    matches = 0
    for (i = 1; i <= keyCount; ++i) {
        key = keys[i]
        if (files[key] == field[1] && kinds[key] == field[2] && texts[key] == field[3]) {
            ++matches
            excused[key] = 1
            if (counts[key]) {
                fail("is reached, take it off the list: " $0)
            }
        }
    }
    if (matches != 1) {
        fail("stands for " matches " places instead of one: " $0)
    }
    next
}

# Telling

END {
    for (i = 1; i <= keyCount; ++i) {
        key = keys[i]
        group = files[key] SUBSEP (kinds[key] == "line" ? "lines" : "branches")
        if (key in excused) {
            ++excusedCount
        } else {
            ++total[group]
            missed[group] += !counts[key]
        }
    }
    printf "%-48s %6s %6s %9s %8s %6s %9s\n", "file", "lines", "missed", "", "branches", "missed", ""
    for (i = 1; i <= nameCount; ++i) {
        name = names[i]
        lines = name SUBSEP "lines"
        branches = name SUBSEP "branches"
        if (name in seen) {
            print_row(name, total[lines], missed[lines], total[branches], missed[branches])
        } else if (name ~ /\.cpp$/) {
            fail("no counts of " name)
        }
        lineCount += total[lines]
        missedLines += missed[lines]
        branchCount += total[branches]
        missedBranches += missed[branches]
    }
    print_row("all", lineCount, missedLines, branchCount, missedBranches)
    printf "unreachable, with a reason each, not counted: %d\n", excusedCount
    print_misses()
    if (missedLines || !lineCount) {
        fail("a line without a test; each must have one")
    }
    if (percent(branchCount - missedBranches, branchCount) < leastBranches || !branchCount) {
        fail("fewer than " leastBranches " % of the branches have a test")
    }
    exit failed
}
