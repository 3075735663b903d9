// What moves on a page. Every `.view` is worked alike: its buttons switch its layers, its drawing can be zoomed and
// moved, and its read-out shows where the pointer is. Without script the page is whole but still.
#include "tools/html_assets.h"

namespace qvtool {

const char* pageScript() {
    return R"js(
'use strict';
(function () {
  const views = Array.from(document.querySelectorAll('.view'), makeView);
  let current = views.find(v => v.isMain) || views[0];

  function numbers(text) { return text.split(' ').map(Number); }

  // Digits behind the point so that one display pel still changes the last one.
  function digitsFor(step) {
    if (!(step > 0)) return 2;
    return Math.min(9, Math.max(1, Math.ceil(-Math.log10(step)) + 1));
  }

  function makeView(figure) {
    const svg = figure.querySelector(':scope > svg');
    const where = figure.querySelector('.where');
    const buttons = Array.from(figure.querySelectorAll('button[data-layer]'));
    const whole = numbers(svg.getAttribute('viewBox'));
    const client = numbers(figure.dataset.client);
    let box = whole.slice();
    let drag = null;
    const strokes = Array.from(svg.querySelectorAll('.sketch [stroke-width]'),
      e => [e, Number(e.getAttribute('stroke-width'))]);
    const letters = Array.from(svg.querySelectorAll('.sketch text[font-size]'),
      e => [e, Number(e.getAttribute('font-size')), Number(e.getAttribute('textLength'))]);
    const icons = Array.from(svg.querySelectorAll('.sketch .icon'));

    function show(button, on) {
      button.setAttribute('aria-pressed', on ? 'true' : 'false');
      document.getElementById(button.dataset.layer).style.display = on ? '' : 'none';
    }
    function toggle(button) { show(button, button.getAttribute('aria-pressed') !== 'true'); }

    // Pels of the image for one pel of the display.
    function pelsPerDisplayPel() {
      const matrix = svg.getScreenCTM();
      return matrix ? 1 / matrix.a : 1;
    }

    let pending = false;
    // Lines, marks and letters keep their size on the display.
    function keepSizes() {
      pending = false;
      const zoom = whole[2] / box[2];
      for (const [e, width] of strokes) e.style.strokeWidth = width / zoom;
      for (const [e, size, length] of letters) {
        e.style.fontSize = size / zoom + 'px';
        if (length) e.setAttribute('textLength', length / zoom);
      }
      for (const e of icons) e.style.transform = 'scale(' + 1 / zoom + ')';
      figure.classList.toggle('near', pelsPerDisplayPel() < 0.5);
    }
    function look(x, y, width) {
      const least = Math.min(whole[2], 4);
      width = Math.min(whole[2], Math.max(least, width));
      const height = width * whole[3] / whole[2];
      x = Math.min(whole[0] + whole[2] - width, Math.max(whole[0], x));
      y = Math.min(whole[1] + whole[3] - height, Math.max(whole[1], y));
      box = [x, y, width, height];
      svg.setAttribute('viewBox', box.join(' '));
      if (!pending) { pending = true; requestAnimationFrame(keepSizes); }
    }
    function zoomAt(x, y, factor) {
      const width = Math.min(whole[2], Math.max(Math.min(whole[2], 4), box[2] / factor));
      const f = width / box[2];
      look(x - (x - box[0]) * f, y - (y - box[1]) * f, width);
    }
    function middle() { return [box[0] + box[2] / 2, box[1] + box[3] / 2]; }
    function pointOf(event) {
      const matrix = svg.getScreenCTM();
      if (!matrix) return null;
      const p = new DOMPoint(event.clientX, event.clientY).matrixTransform(matrix.inverse());
      return [p.x, p.y];
    }

    function tell(name, p) {
      const step = pelsPerDisplayPel();
      const inside = p[0] >= whole[0] && p[0] < whole[0] + whole[2] && p[1] >= whole[1] && p[1] < whole[1] + whole[3];
      if (!inside) { where.textContent = ''; return; }
      const x = client[0] * p[0] + client[1] * p[1] + client[4];
      const y = client[2] * p[0] + client[3] * p[1] + client[5];
      const digits = digitsFor(step * Math.hypot(client[0], client[2]));
      let text = name + ': client x ' + x.toFixed(digits) + ', y ' + y.toFixed(digits);
      text += ' \u00b7 pel column ' + Math.floor(p[0]) + ', row ' + Math.floor(p[1]);
      const zoom = whole[2] / box[2];
      if (zoom > 1.001) text += ' \u00b7 zoom ' + zoom.toFixed(1);
      where.textContent = text;
    }
    function tellMiddle() { tell('middle of the view', middle()); }

    for (const button of buttons) {
      button.addEventListener('click', () => toggle(button));
      if (button.hasAttribute('data-off')) show(button, false);
    }
    svg.addEventListener('wheel', event => {
      if (!figure.contains(document.activeElement) && !event.ctrlKey) return;
      event.preventDefault();
      const p = pointOf(event);
      if (!p) return;
      zoomAt(p[0], p[1], Math.exp(-event.deltaY * (event.deltaMode ? 0.05 : 0.0015)));
      tell('pointer', pointOf(event));
    }, { passive: false });
    svg.addEventListener('pointerdown', event => {
      svg.focus({ preventScroll: true });
      if (event.button !== 0) return;
      event.preventDefault();
      drag = { id: event.pointerId, p: pointOf(event) };
      svg.setPointerCapture(event.pointerId);
      figure.classList.add('dragging');
    });
    svg.addEventListener('pointermove', event => {
      const p = pointOf(event);
      if (!p) return;
      if (drag && drag.id === event.pointerId) look(box[0] + drag.p[0] - p[0], box[1] + drag.p[1] - p[1], box[2]);
      tell('pointer', pointOf(event));
    });
    for (const end of ['pointerup', 'pointercancel']) {
      svg.addEventListener(end, () => { drag = null; figure.classList.remove('dragging'); });
    }
    svg.addEventListener('pointerleave', () => { if (!drag) where.textContent = ''; });
    svg.addEventListener('dblclick', event => {
      const p = pointOf(event);
      if (p) zoomAt(p[0], p[1], event.shiftKey ? 0.5 : 2);
    });
    figure.addEventListener('focusin', () => { current = view; });

    function key(name) {
      const m = middle();
      const stepX = box[2] / 10;
      const stepY = box[3] / 10;
      switch (name) {
        case '+': case '=': zoomAt(m[0], m[1], 1.5); break;
        case '-': case '_': zoomAt(m[0], m[1], 1 / 1.5); break;
        case 'Home': look(whole[0], whole[1], whole[2]); break;
        case 'ArrowLeft': look(box[0] - stepX, box[1], box[2]); break;
        case 'ArrowRight': look(box[0] + stepX, box[1], box[2]); break;
        case 'ArrowUp': look(box[0], box[1] - stepY, box[2]); break;
        case 'ArrowDown': look(box[0], box[1] + stepY, box[2]); break;
        default: return false;
      }
      tellMiddle();
      return true;
    }
    svg.addEventListener('keydown', event => {
      if (event.ctrlKey || event.metaKey || event.altKey) return;
      if (key(event.key)) event.preventDefault();
    });

    function layerKey(digit) {
      if (digit === 0) {
        const anyOff = buttons.some(b => b.getAttribute('aria-pressed') !== 'true');
        buttons.forEach(b => show(b, anyOff));
      } else if (buttons[digit - 1]) {
        toggle(buttons[digit - 1]);
      }
    }
    const view = { isMain: figure.classList.contains('main'), layerKey };
    return view;
  }

  document.addEventListener('keydown', event => {
    if (event.ctrlKey || event.metaKey || event.altKey || !/^[0-9]$/.test(event.key) || !current) return;
    current.layerKey(Number(event.key));
    event.preventDefault();
  });
})();
)js";
}

}  // namespace qvtool
