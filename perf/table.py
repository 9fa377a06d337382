"""The table of a comparison."""

import statistics


def median_ratio(outcome):
    return statistics.median(outcome.ratios)


def is_met(row, outcome):
    """No goal is met without a measurement, nor by a wrong result."""
    if outcome.problem or not outcome.ratios:
        return False
    if row.limit is not None:
        return median_ratio(outcome) <= row.limit and outcome.also_met
    # Not slower: our time is within the range of their times in the same run.
    return statistics.median(outcome.ours) <= max(outcome.theirs) + outcome.allowance


def goal(row):
    return "not slower" if row.limit is None else f"≤ {row.limit:g}"


def spread(outcome):
    return (f"{median_ratio(outcome):.3g} "
            f"({min(outcome.ratios):.3g} to {max(outcome.ratios):.3g})")


def verdict(row, outcome):
    if outcome.problem:
        return outcome.problem
    text = f"{spread(outcome)}, goal {goal(row)}"
    return f"{text}; {outcome.note}" if outcome.note else text


def figure(values, unit):
    return f"{statistics.median(values):.4g} {unit}".rstrip() if values else ""


def lines(rows, outcomes):
    """Markdown: medians, ratios with the smallest and the largest, and whether the goal is met."""
    result = ["| work | against | ours | theirs | ours ÷ theirs (from to) | goal | met |",
              "|---|---|---|---|---|---|---|"]
    for name, outcome in outcomes.items():
        row = rows[name]
        ratio = outcome.problem or spread(outcome)
        if outcome.note and not outcome.problem:
            ratio += f"; {outcome.note}"
        result.append(f"| {row.work} | {row.against} | {figure(outcome.ours, row.unit)} "
                      f"| {figure(outcome.theirs, row.unit)} | {ratio} | {goal(row)} "
                      f"| {'yes' if is_met(row, outcome) else 'no'} |")
    return result
