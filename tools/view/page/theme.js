// Light or dark: as the system says, until the user chooses.

const KEY = "logging2-theme";
const systemIsDark = matchMedia("(prefers-color-scheme: dark)");

function chosenTheme() {
    return localStorage.getItem(KEY) ?? (systemIsDark.matches ? "dark" : "light");
}

function apply() {
    document.documentElement.dataset.theme = chosenTheme();
}

// Calls changed() whenever the colours are others.
export function startTheme(changed) {
    const applyAndTell = () => {
        apply();
        changed();
    };
    systemIsDark.addEventListener("change", applyAndTell);
    apply();
    return () => {
        localStorage.setItem(KEY, chosenTheme() === "dark" ? "light" : "dark");
        applyAndTell();
    };
}
