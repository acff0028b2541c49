// Before anything is drawn, so that a chosen theme does not flash in the other one's colours.
try {
    const theme = localStorage.getItem('zuk-theme');
    if (theme) document.documentElement.dataset.theme = theme;
} catch {
    /* without storage the system's choice stays */
}
