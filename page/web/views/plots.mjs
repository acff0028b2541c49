// The plots of a month, each with its table, and the element that draws them. uPlot is fetched when the first one comes
// near the screen.
import { duration, shortDate, signed } from '../format.mjs';
import { store } from '../store.mjs';
import { t } from '../texts/texts.mjs';
import { html } from '../vendor/lit-html/lit-html.mjs';

const kHeight = 190;

/** What the plot is drawn from: `x` days of the month, `series` of hours, `drawn` bars, boxes or line. */
class Plot extends HTMLElement {
    set plot(plot) {
        const text = JSON.stringify(plot);
        if (text === this.text) return;
        this.text = text;
        this.data = plot;
        if (this.chart) this.draw();
    }

    connectedCallback() {
        this.seen = new IntersectionObserver(
            (entries) => entries.some((entry) => entry.isIntersecting) && this.begin(),
            { rootMargin: '200px' },
        );
        this.seen.observe(this);
        this.sized = new ResizeObserver(() => this.chart?.setSize({ width: this.clientWidth, height: kHeight }));
        this.themed = new MutationObserver(() => this.chart && this.draw());
        this.themed.observe(document.documentElement, { attributes: true });
        this.scheme = matchMedia('(prefers-color-scheme: dark)');
        this.scheme.onchange = () => this.chart && this.draw();
    }

    disconnectedCallback() {
        for (const observer of [this.seen, this.sized, this.themed]) observer.disconnect();
        this.scheme.onchange = null;
        this.chart?.destroy();
        this.chart = null;
    }

    async begin() {
        this.seen.disconnect();
        this.library = (await import('../vendor/uplot/uplot.mjs')).default;
        if (!this.isConnected) return;
        this.draw();
        this.sized.observe(this);
    }

    colour(name) {
        this.style.color = `var(--${name})`;
        return getComputedStyle(this).color;
    }

    draw() {
        this.chart?.destroy();
        const { x, series } = this.data;
        const [ink, line] = ['muted', 'line'].map((name) => this.colour(name));
        const axis = {
            stroke: ink,
            grid: { stroke: line, width: 1 },
            ticks: { show: false },
            font: '12px system-ui, sans-serif',
        };
        const { bars } = this.library.paths;
        const paths = { bars: bars({ size: [0.55, 20] }), boxes: bars({ size: [0.8, 30] }) };
        this.chart = new this.library(
            {
                width: this.clientWidth,
                height: kHeight,
                legend: { show: false },
                cursor: { show: false },
                padding: [8, 8, 0, 0],
                scales: { x: { time: false, range: (_, low, high) => [low - 0.6, high + 0.6] } },
                axes: [
                    { ...axis, grid: { show: false }, size: 28, incrs: [1, 2, 5, 10] },
                    {
                        ...axis,
                        size: 44,
                        values: (_, values) => values.map((value) => duration(value * 3600)),
                        incrs: [0.5, 1, 2, 4, 8, 16, 24, 40, 80],
                    },
                ],
                series: [
                    {},
                    ...series.map(({ drawn, colour, fill }) => ({
                        stroke: this.colour(colour),
                        fill: fill && this.colour(fill),
                        width: { bars: 0, boxes: 1, line: 2 }[drawn],
                        paths: paths[drawn],
                        points: { show: false },
                    })),
                ],
            },
            [x, ...series.map(({ values }) => values)],
            this,
        );
        this.style.color = '';
    }
}
customElements.define('zuk-plot', Plot);

const hours = (seconds) => seconds / 3600;

const tableRow = ([name, ...cells]) =>
    html`<tr><th scope="row">${name}</th>${cells.map((cell) => html`<td>${cell}</td>`)}</tr>`;

/** A figure: the plot for the eyes, its table for everybody. */
const figure = (title, plot, head, rows) => html`<figure class="card">
    <figcaption>${title}</figcaption>
    <zuk-plot role="img" aria-label=${t('plotOf', title)} .plot=${plot}></zuk-plot>
    <details><summary>${t('asTable')}</summary>
    <div class="scroll" tabindex="0" role="region" aria-label=${title}><table class="plain">
        <thead><tr>${head.map((text) => html`<th scope="col">${text}</th>`)}</tr></thead>
        <tbody>${rows.map(tableRow)}</tbody>
    </table></div></details></figure>`;

export function monthPlots({ days }) {
    const isPast = ({ date, state }) => date < store.today || (date === store.today && state !== 'now');
    const past = days.filter(isPast);
    if (!past.length) return html``;
    const x = days.map((_, index) => index + 1);
    const hoursPlot = {
        x,
        series: [
            { values: days.map(({ worked }) => hours(worked)), drawn: 'bars', fill: 'bar', colour: 'bar' },
            { values: days.map(({ required }) => hours(required)), drawn: 'boxes', colour: 'edge' },
        ],
    };
    const runningPlot = {
        x,
        series: [
            {
                values: days.map((day) => (isPast(day) ? hours(day.running) : null)),
                drawn: 'line',
                colour: 'accent',
                fill: 'accent-soft',
            },
        ],
    };
    return html`<section class="plots" aria-label=${t('plots')}>
        ${figure(
            t('plot hours'),
            hoursPlot,
            ['date', 'hours', 'required'].map((name) => t(`column ${name}`)),
            past.map((day) => [shortDate(day.date), duration(day.worked), duration(day.required)]),
        )}
        ${figure(
            t('plot running'),
            runningPlot,
            ['date', 'balance', 'running'].map((name) => t(`column ${name}`)),
            past.map((day) => [shortDate(day.date), signed(day.balance), signed(day.running)]),
        )}</section>`;
}
