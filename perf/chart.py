"""How total time grows with the number of players, as a picture."""

WIDTH, HEIGHT, LEFT, BOTTOM, TOP = 640, 360, 60, 50, 40


def svg(curve):
    """curve: {players: (ours, limit)} in seconds."""
    most = 1.25 * max(max(pair) for pair in curve.values())
    step = (WIDTH - LEFT - 20) / len(curve)

    def height(seconds):
        return (HEIGHT - BOTTOM - TOP) * seconds / most

    parts = [f'<svg xmlns="http://www.w3.org/2000/svg" width="{WIDTH}" height="{HEIGHT}" '
             'font-family="sans-serif" font-size="12">',
             f'<rect width="{WIDTH}" height="{HEIGHT}" fill="white"/>',
             f'<text x="{LEFT}" y="20" font-size="14">Seconds until everything is on the players, '
             'by their number</text>']
    for index, (players, (ours, limit)) in enumerate(sorted(curve.items())):
        left = LEFT + index * step + step * 0.15
        for offset, seconds, colour in ((0, limit, "#b8b8b8"), (step * 0.35, ours, "#2a82da")):
            top = HEIGHT - BOTTOM - height(seconds)
            parts.append(f'<rect x="{left + offset:.1f}" y="{top:.1f}" width="{step * 0.33:.1f}" '
                         f'height="{height(seconds):.1f}" fill="{colour}"/>')
            parts.append(f'<text x="{left + offset + step * 0.16:.1f}" y="{top - 4:.1f}" '
                         f'text-anchor="middle">{seconds:.1f}</text>')
        parts.append(f'<text x="{left + step * 0.34:.1f}" y="{HEIGHT - BOTTOM + 18}" '
                     f'text-anchor="middle">{players}</text>')
    parts.append(f'<line x1="{LEFT}" y1="{HEIGHT - BOTTOM}" x2="{WIDTH - 20}" '
                 f'y2="{HEIGHT - BOTTOM}" stroke="black"/>')
    parts.append(f'<rect x="{LEFT}" y="{HEIGHT - 20}" width="12" height="12" fill="#b8b8b8"/>'
                 f'<text x="{LEFT + 18}" y="{HEIGHT - 10}">what the players can take</text>'
                 f'<rect x="{LEFT + 220}" y="{HEIGHT - 20}" width="12" height="12" '
                 f'fill="#2a82da"/><text x="{LEFT + 238}" y="{HEIGHT - 10}">Fillstation</text>')
    parts.append("</svg>\n")
    return "\n".join(parts)
