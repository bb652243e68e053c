# Draws the table of a soak (comma-separated values with a line of names) as SVG: three diagrams with
# the cycles to the right, one above the other. Used by scripts/soak.
BEGIN {
    FS = ","
    left = 70; right = 600; top = 44; height = 120; gap = 56; width = 730
}

NR == 1 {
    for (i = 1; i <= NF; ++i) column[$i] = i
    next
}

{
    ++rows
    for (name in column) value[name, rows] = $column[name]
}

function x(cycle) { return left + (right - left) * cycle / last }
function y(number) { return bottom - height * number / highest }

# The next diagram: its heading, and what the upper edge stands for.
function diagram(heading, upper, steps,    i, number) {
    highest = upper
    bottom = top + height + diagrams++ * (height + gap)
    printf "<text class=\"heading\" x=\"%d\" y=\"%d\">%s</text>\n", left, bottom - height - 12, heading
    for (i = 0; i <= steps; ++i) {
        number = upper * i / steps
        printf "<path class=\"grid\" d=\"M%d %.1fH%d\"/>\n", left, y(number), right
        printf "<text class=\"number\" x=\"%d\" y=\"%.1f\">%s</text>\n", left - 8, y(number) + 4, number
    }
    for (i = 0; i <= 5; ++i)
        printf "<text class=\"cycle\" x=\"%.1f\" y=\"%d\">%d</text>\n", x(last * i / 5), bottom + 17,
            last * i / 5
}

# A line of the diagram, with its name at the right end, moved down by so much. Points in the middle of
# a level stretch are left out.
function draw(name, label, colour, unit, moved,    i) {
    printf "<path class=\"line %s\" d=\"", colour
    for (i = 1; i <= rows; ++i)
        if (i == 1 || i == rows || value[name, i] != value[name, i - 1] ||
            value[name, i] != value[name, i + 1])
            printf "%s%.1f %.1f", i == 1 ? "M" : "L", x(value["cycle", i]), y(value[name, i] / unit)
    printf "\"/>\n<text class=\"label %s\" x=\"%d\" y=\"%.1f\">%s</text>\n", colour, right + 8,
        y(value[name, rows] / unit) + 4 + moved, label
}

# The next round number that is not below.
function above(number, round) { return round * int((number + round - 1) / round) }

function most(name,    i, found) {
    for (i = 1; i <= rows; ++i) if (value[name, i] > found) found = value[name, i]
    return found
}

END {
    last = value["cycle", rows]
    printf "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 %d %d\" role=\"img\">\n", width,
        top + 3 * (height + gap) - 16
    printf "<title>A host in %d cycles: memory, descriptors, threads, children, log</title>\n", last
    print "<style>"
    print "text { font: 12px sans-serif; fill: #1f2328 } .heading { font-weight: bold }"
    print ".number { text-anchor: end } .cycle { text-anchor: middle }"
    print ".page { fill: #ffffff } .grid { stroke: #d1d9e0 } .line { fill: none; stroke-width: 1.5 }"
    print ".line.a { stroke: #0969da } .line.b { stroke: #bc4c00 } .line.c { stroke: #1a7f37 }"
    print ".label.a { fill: #0969da } .label.b { fill: #bc4c00 } .label.c { fill: #1a7f37 }"
    print "@media (prefers-color-scheme: dark) {"
    print "text { fill: #e6edf3 } .page { fill: #0d1117 } .grid { stroke: #30363d }"
    print ".line.a { stroke: #58a6ff } .line.b { stroke: #f0883e } .line.c { stroke: #3fb950 }"
    print ".label.a { fill: #58a6ff } .label.b { fill: #f0883e } .label.c { fill: #3fb950 }"
    print "}"
    print "</style>"
    printf "<rect class=\"page\" width=\"100%%\" height=\"100%%\"/>\n"

    diagram("Memory of the host, KiB", above(most("resident_kib") * 1.1, 2000), 4)
    draw("resident_kib", "resident", "a", 1)
    draw("own_kib", "written to", "b", 1)

    diagram("Its descriptors, threads and children", above(most("descriptors"), 8), 4)
    draw("descriptors", "descriptors", "a", 1)
    draw("threads", "threads", "b", 1, -3)
    draw("children", "children", "c", 1, 1)

    diagram("Its log at level 4, MiB", above(most("log_kib") / 1024, 8), 4)
    draw("log_kib", "all its files", "a", 1024)
    printf "<text x=\"%d\" y=\"%d\">cycles</text>\n", right + 30, bottom + 17
    print "</svg>"
}
