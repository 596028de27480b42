// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The panes with the picture: what is drawn over it, and what pointers and keys do there.
import type { App } from '../app';
import { lookedAround, viewOf, zoomed, type PanePoint, type View, type ViewKind } from '../sphere/camera';
import type { Vector } from '../sphere/geometry';
import { el, svg } from '../ui/dom';
import {
  dragTo,
  grip,
  handleDirection,
  layoutOf,
  nudge,
  type Grip,
  type HandleName,
  type Layout,
} from './handles';
import { outlineOf } from './outline';
import { makePainter, type Painter, type PaneBox, type Shown } from './painter';

const names: Record<ViewKind, string> = {
  flat: 'Flat 360° frame',
  inside: 'Inside the sphere',
  globe: 'The sphere from outside',
};
const handleNames: readonly HandleName[] = ['start', 'end', 'travel', 'size'];

interface Pane {
  readonly kind: ViewKind;
  readonly box: HTMLElement;
  readonly lines: SVGSVGElement;
  readonly circle: SVGPathElement;
  readonly edges: SVGPathElement;
  readonly span: SVGPathElement;
  readonly grab: SVGPathElement;
  readonly handles: Map<HandleName, HTMLButtonElement>;
}

const arrows: Record<string, readonly [number, number] | undefined> = {
  ArrowLeft: [-1, 0],
  ArrowRight: [1, 0],
  ArrowUp: [0, -1],
  ArrowDown: [0, 1],
};

export class Stage {
  readonly element: HTMLElement;
  readonly #app: App;
  readonly #canvas = el('canvas', { class: 'picture', 'aria-hidden': 'true' });
  readonly #panes: Pane[];
  #painter: Painter;
  #shown: Shown | null = null;
  #scheduled = false;

  constructor(app: App) {
    this.#app = app;
    this.#painter = makePainter(this.#canvas);
    this.#panes = (['flat', 'inside', 'globe'] as const).map((kind) => this.#makePane(kind));
    this.element = el(
      'section',
      { class: 'stage', 'aria-label': 'Picture' },
      this.#canvas,
      ...this.#panes.map((pane) => pane.box),
    );
    new ResizeObserver(() => this.refresh()).observe(this.element);
    this.#canvas.addEventListener('webglcontextlost', (event) => event.preventDefault());
    this.#canvas.addEventListener('webglcontextrestored', () => {
      this.#painter = makePainter(this.#canvas);
      if (this.#shown !== null) {
        this.setPicture(this.#shown);
      }
    });
    app.subscribe(() => this.refresh());
  }

  setPicture(shown: Shown): void {
    this.#shown = shown;
    this.#painter.setPicture(shown);
    this.refresh();
  }

  /** Draws again with the screen's next picture. */
  refresh(): void {
    if (this.#scheduled) {
      return;
    }
    this.#scheduled = true;
    requestAnimationFrame(() => {
      this.#scheduled = false;
      this.#draw();
    });
  }

  #makePane(kind: ViewKind): Pane {
    const lines = svg('svg', { class: 'lines', 'aria-hidden': 'true' });
    const circle = svg('path', { class: 'circle' });
    const edges = svg('path', { class: 'edges' });
    const span = svg('path', { class: 'span' });
    const grab = svg('path', { class: 'grab' });
    lines.append(circle, edges, span, grab);
    const handles = new Map(handleNames.map((name) => [name, this.#makeHandle(name)] as const));
    const box = el(
      'div',
      { class: `pane pane-${kind}`, role: 'group', 'aria-label': names[kind] },
      lines,
      ...handles.values(),
      el('span', { class: 'pane-name', 'aria-hidden': 'true', text: names[kind] }),
    );
    const pane: Pane = { kind, box, lines, circle, edges, span, grab, handles };
    for (const [name, handle] of handles) {
      this.#makeDraggable(pane, handle, name);
      handle.addEventListener('keydown', (event) => this.#nudge(event, name));
    }
    this.#makeDraggable(pane, grab, 'line');
    this.#makeLookable(pane);
    return pane;
  }

  #makeHandle(name: HandleName): HTMLButtonElement {
    return el('button', {
      type: 'button',
      class: `handle handle-${name}`,
      'data-handle': name,
      'aria-roledescription': 'handle, moved with the arrow keys',
    });
  }

  #nudge(event: KeyboardEvent, name: HandleName): void {
    const arrow = arrows[event.key];
    if (arrow !== undefined) {
      event.preventDefault();
      nudge(this.#app, name, arrow[0], arrow[1], event.shiftKey);
    }
  }

  #makeDraggable(pane: Pane, target: HTMLElement | SVGElement, name: HandleName): void {
    let held: Grip | null = null;
    // From the handle's middle to where it was taken, so that it does not jump.
    let offset = { x: 0, y: 0 };
    const end = (done: boolean): void => {
      if (held !== null) {
        held = null;
        pane.box.classList.remove('moving');
        if (done) {
          this.#app.endGesture();
        } else {
          this.#app.cancelGesture();
        }
      }
    };
    target.addEventListener('pointerdown', (event) => {
      if (!(event instanceof PointerEvent) || event.button !== 0) {
        return;
      }
      event.preventDefault();
      event.stopPropagation();
      (target as HTMLElement).focus({ preventScroll: true });
      const at = this.#pointOf(pane, event);
      const layout = layoutOf(this.#app);
      const middle = layout && handleDirection(this.#app, layout, name);
      const shown = middle && this.#viewOf(pane).show(middle);
      offset = shown ? { x: shown.x - at.x, y: shown.y - at.y } : { x: 0, y: 0 };
      const from = this.#viewOf(pane).see({ x: at.x + offset.x, y: at.y + offset.y });
      held = from && grip(this.#app, name, from);
      if (held !== null) {
        target.setPointerCapture(event.pointerId);
        pane.box.classList.add('moving');
        this.#app.beginGesture();
      }
    });
    target.addEventListener('pointermove', (event) => {
      if (held !== null && event instanceof PointerEvent) {
        const at = this.#pointOf(pane, event);
        const to = this.#viewOf(pane).see({ x: at.x + offset.x, y: at.y + offset.y });
        if (to !== null) {
          dragTo(this.#app, held, to);
        }
      }
    });
    target.addEventListener('pointerup', () => end(true));
    target.addEventListener('pointercancel', () => end(false));
    target.addEventListener('keydown', (event) => {
      if (event instanceof KeyboardEvent && event.key === 'Escape') {
        end(false);
      }
    });
  }

  /** Dragging beside the handles turns the eye; on the flat picture a press looks there. */
  #makeLookable(pane: Pane): void {
    let before: PanePoint | null = null;
    // Two fingers zoom, by how far they are apart.
    const fingers = new Map<number, PanePoint>();
    const apart = (): number => {
      const [a, b] = [...fingers.values()];
      const aspect = this.#aspectOf(pane);
      return a === undefined || b === undefined ? 0 : Math.hypot((a.x - b.x) * aspect, a.y - b.y);
    };
    pane.box.addEventListener('pointerdown', (event) => {
      if (event.button !== 0 || fingers.size === 2) {
        return;
      }
      before = this.#pointOf(pane, event);
      fingers.set(event.pointerId, before);
      pane.box.setPointerCapture(event.pointerId);
      if (pane.kind === 'flat') {
        this.#lookAt(this.#viewOf(pane).see(before));
      }
    });
    pane.box.addEventListener('pointermove', (event) => {
      if (before === null || !fingers.has(event.pointerId)) {
        return;
      }
      const now = this.#pointOf(pane, event);
      const distance = apart();
      fingers.set(event.pointerId, now);
      if (distance > 0) {
        if (pane.kind !== 'flat') {
          this.#zoom(distance / Math.max(0.02, apart()));
        }
        return;
      }
      if (pane.kind === 'flat') {
        this.#lookAt(this.#viewOf(pane).see(now));
      } else {
        const { camera } = this.#app.look;
        this.#app.setLook({
          camera: lookedAround(camera, now.x - before.x, now.y - before.y, this.#aspectOf(pane)),
        });
      }
      before = now;
    });
    const stop = (event: PointerEvent): void => {
      fingers.delete(event.pointerId);
      // The finger that stays turns on from where it is.
      before = [...fingers.values()][0] ?? null;
    };
    pane.box.addEventListener('pointerup', stop);
    pane.box.addEventListener('pointercancel', stop);
    if (pane.kind !== 'flat') {
      this.#makeZoomable(pane);
    }
  }

  #makeZoomable(pane: Pane): void {
    pane.box.tabIndex = 0;
    pane.box.addEventListener(
      'wheel',
      (event) => {
        event.preventDefault();
        this.#zoom(Math.exp(event.deltaY * 0.001));
      },
      { passive: false },
    );
    pane.box.addEventListener('keydown', (event) => {
      if (event.target !== pane.box) {
        return;
      }
      const arrow = arrows[event.key];
      const { camera } = this.#app.look;
      if (arrow !== undefined) {
        event.preventDefault();
        const step = event.shiftKey ? -0.2 : -0.04;
        const [dx, dy] = [arrow[0] * step, arrow[1] * step];
        this.#app.setLook({ camera: lookedAround(camera, dx, dy, this.#aspectOf(pane)) });
      } else if (event.key === '+' || event.key === '-') {
        this.#zoom(event.key === '+' ? 0.9 : 1 / 0.9);
      }
    });
  }

  #zoom(factor: number): void {
    this.#app.setLook({ camera: zoomed(this.#app.look.camera, factor) });
  }

  #lookAt(direction: Vector | null): void {
    if (direction !== null) {
      const yaw = (Math.atan2(direction.x, -direction.z) * 180) / Math.PI;
      const pitch = (-Math.asin(Math.max(-1, Math.min(1, direction.y))) * 180) / Math.PI;
      this.#app.setLook({ camera: { ...this.#app.look.camera, yaw, pitch } });
    }
  }

  #pointOf(pane: Pane, event: PointerEvent): PanePoint {
    const box = pane.box.getBoundingClientRect();
    return {
      x: (event.clientX - box.left) / box.width,
      y: (event.clientY - box.top) / box.height,
    };
  }

  #aspectOf(pane: Pane): number {
    return Math.max(0.05, pane.box.clientWidth / Math.max(1, pane.box.clientHeight));
  }

  #viewOf(pane: Pane): View {
    const { width, height } = this.#app.sizes;
    return viewOf(pane.kind, this.#app.look.camera, this.#aspectOf(pane), width / height);
  }

  // ---- Drawing ----

  #draw(): void {
    this.element.dataset['view'] = this.#app.look.view;
    const layout = layoutOf(this.#app);
    const visible = this.#panes.filter((pane) => pane.box.clientWidth > 0);
    for (const pane of visible) {
      this.#drawLines(pane, layout);
    }
    this.#paint(visible);
  }

  #paint(visible: readonly Pane[]): void {
    const scale = devicePixelRatio;
    const origin = this.element.getBoundingClientRect();
    const width = Math.round(origin.width * scale);
    const height = Math.round(origin.height * scale);
    if (this.#canvas.width !== width || this.#canvas.height !== height) {
      this.#canvas.width = width;
      this.#canvas.height = height;
    }
    const boxes = visible.map((pane): PaneBox => {
      const box = pane.box.getBoundingClientRect();
      return {
        kind: pane.kind,
        x: Math.round((box.left - origin.left) * scale),
        y: Math.round((box.top - origin.top) * scale),
        width: Math.max(1, Math.round(box.width * scale)),
        height: Math.max(1, Math.round(box.height * scale)),
      };
    });
    const { sizes, look } = this.#app;
    this.#painter.paint(boxes, look.camera, sizes.width / sizes.height);
  }

  #drawLines(pane: Pane, layout: Layout | null): void {
    const { clientWidth: width, clientHeight: height } = pane.box;
    const view = this.#viewOf(pane);
    const outline =
      layout?.circle && layout.strip
        ? outlineOf(layout.circle, layout.strip, view, width, height)
        : { circle: '', span: '', edges: '' };
    pane.lines.setAttribute('viewBox', `0 0 ${width} ${height}`);
    pane.circle.setAttribute('d', outline.circle);
    pane.edges.setAttribute('d', outline.edges);
    pane.span.setAttribute('d', outline.span);
    pane.grab.setAttribute('d', outline.span);
    for (const [name, handle] of pane.handles) {
      const direction = layout && handleDirection(this.#app, layout, name);
      const at = direction && view.show(direction);
      const hidden = !at || at.x < -0.02 || at.x > 1.02 || at.y < -0.02 || at.y > 1.02;
      handle.hidden = hidden;
      if (!hidden) {
        handle.style.transform = `translate(${(at.x * width).toFixed(1)}px, ${(at.y * height).toFixed(1)}px)`;
        handle.setAttribute('aria-label', this.#labelOf(name));
      }
    }
  }

  #labelOf(name: HandleName): string {
    const { roles } = this.#app;
    switch (name) {
      case 'start':
        return roles.start?.name ?? '';
      case 'end':
        return roles.end?.name ?? '';
      case 'travel':
        return roles.travel?.name ?? '';
      case 'size':
        return roles.size?.name ?? '';
      case 'line':
        return 'Line';
    }
  }
}
