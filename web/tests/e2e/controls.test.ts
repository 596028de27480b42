// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Every control by mouse and by keyboard, and the points in each view.
import { control, drag, expect, number, settled, test } from './page';

test('every control by keyboard, each back by undo', async ({ studio }) => {
  const travel = control(studio, 'travel').locator('.number');
  await travel.fill('12,5');
  await travel.press('Enter');
  await expect(travel).toHaveValue('12.5');
  await travel.press('ArrowUp');
  await expect(travel).toHaveValue('13.5');
  const size = control(studio, 'size-degrees').getByRole('slider');
  await size.focus();
  await size.press('ArrowRight');
  await expect(control(studio, 'size-degrees').locator('.number')).toHaveValue('30.1');
  await control(studio, 'layer-placement').getByRole('radio').first().focus();
  await studio.keyboard.press('ArrowRight');
  await expect(studio.getByRole('radio', { name: 'Tile' })).toBeChecked();
  for (const [name, on] of [['spherical-filtering', true], ['composite-with-original', false]] as const) {
    const box = control(studio, name).getByRole('checkbox');
    await box.focus();
    await studio.keyboard.press('Space');
    await expect(box).toBeChecked({ checked: on });
  }
  const startX = control(studio, 'start-point').getByLabel('Start Point X');
  await startX.fill('512');
  await startX.press('Enter');
  await expect(startX).toHaveValue('512.0');
  const opacity = control(studio, 'opacity').locator('.number');
  await opacity.fill('150');
  await opacity.press('Enter');
  await expect(opacity).toHaveValue('100');
  await opacity.fill('many');
  await opacity.press('Enter');
  await expect(opacity).toHaveValue('100');
  await settled(studio);
  const undo = studio.getByRole('button', { name: 'Undo', exact: true });
  while (await undo.isEnabled()) {
    await undo.click();
  }
  await expect(travel).toHaveValue('0');
  await expect(studio.getByRole('radio', { name: 'Stretch' })).toBeChecked();
  await expect(startX).toHaveValue('1105.9');
  await studio.getByRole('button', { name: 'Redo', exact: true }).click();
  await expect(travel).toHaveValue('12.5');
});

test('controls by mouse, and reset', async ({ studio }) => {
  const opacity = control(studio, 'opacity');
  const box = await opacity.getByRole('slider').boundingBox();
  await studio.mouse.click((box?.x ?? 0) + (box?.width ?? 0) / 2, (box?.y ?? 0) + (box?.height ?? 0) / 2);
  expect(Math.abs((await number(opacity.locator('.number'))) - 50)).toBeLessThan(3);
  await opacity.getByRole('button', { name: 'Reset Opacity' }).click();
  await expect(opacity.locator('.number')).toHaveValue('100');
  await studio.getByRole('radio', { name: 'Solo' }).click();
  await expect(studio.getByRole('radio', { name: 'Solo' })).toBeChecked();
  await studio.getByText('Composite with Original').click();
  await expect(control(studio, 'composite-with-original').getByRole('checkbox')).not.toBeChecked();
});

for (const [view, pane] of [['Flat', '.pane-flat'], ['Inside', '.pane-inside'], ['Globe', '.pane-globe']] as const) {
  test(`both points, travel, size and the line are dragged in the view ${view}`, async ({ studio }) => {
    await studio.getByRole('radio', { name: view, exact: true }).focus();
    await studio.keyboard.press('Space');
    const fields = {
      start: control(studio, 'start-point').locator('.number').first(),
      end: control(studio, 'end-point').locator('.number').first(),
      travel: control(studio, 'travel').locator('.number'),
      size: control(studio, 'size-degrees').locator('.number'),
    };
    // Where every handle is in sight: a short line ahead.
    for (const [name, x, y] of [['start-point', 1300, 400], ['end-point', 1700, 440]] as const) {
      for (const [axis, value] of [['X', x], ['Y', y]] as const) {
        const field = control(studio, name).getByLabel(new RegExp(`${axis}$`));
        await field.fill(String(value));
        await field.press('Enter');
      }
    }
    for (const name of ['start', 'end', 'travel', 'size'] as const) {
      const before = await number(fields[name]);
      await drag(studio, studio.locator(`${pane} .handle-${name}`), 24, name === 'size' ? -30 : 12);
      expect(await number(fields[name]), name).not.toBe(before);
      await studio.getByRole('button', { name: 'Undo', exact: true }).click();
      await expect.poll(() => number(fields[name])).toBe(before);
    }
    const handle = studio.locator(`${pane} .handle-start`);
    const before = await number(fields.start);
    await handle.focus();
    await handle.press('Shift+ArrowRight');
    expect(await number(fields.start)).toBeCloseTo(before + 20.48, 1);
    await settled(studio);
  });
}

test.describe('on a phone', () => {
  test.use({ viewport: { width: 390, height: 800 }, hasTouch: true, isMobile: true });

  test('fingers drag a handle, turn the eye and zoom', async ({ studio }) => {
    const session = await studio.context().newCDPSession(studio);
    const touch = (type: 'touchStart' | 'touchMove' | 'touchEnd', ...touchPoints: { x: number; y: number }[]): Promise<unknown> =>
      session.send('Input.dispatchTouchEvent', { type, touchPoints: touchPoints.map((point, id) => ({ ...point, id })) });
    const middle = async (selector: string): Promise<{ x: number; y: number }> => {
      const box = await studio.locator(selector).boundingBox();
      return { x: (box?.x ?? 0) + (box?.width ?? 0) / 2, y: (box?.y ?? 0) + (box?.height ?? 0) / 2 };
    };
    const field = control(studio, 'start-point').locator('.number').first();
    const before = await field.inputValue();
    const handle = await middle('.pane-flat .handle-start');
    await touch('touchStart', handle);
    await touch('touchMove', { x: handle.x - 20, y: handle.y + 10 });
    await touch('touchMove', { x: handle.x - 40, y: handle.y + 10 });
    await touch('touchEnd');
    await expect(field).not.toHaveValue(before);
    await settled(studio);

    await studio.getByRole('button', { name: 'Undo', exact: true }).tap();
    await expect(field).toHaveValue(before);

    const apart = async (): Promise<number> => {
      const [travel, size] = [await middle('.pane-inside .handle-travel'), await middle('.pane-inside .handle-size')];
      return Math.hypot(travel.x - size.x, travel.y - size.y);
    };
    await expect.poll(apart).toBeGreaterThan(0);
    const wide = await apart();
    const pane = await middle('.pane-inside');
    const at = { x: pane.x - 130, y: pane.y + 40 };
    await touch('touchStart', at);
    await touch('touchStart', at, { x: at.x + 100, y: at.y });
    await touch('touchMove', { x: at.x + 25, y: at.y }, { x: at.x + 75, y: at.y });
    await touch('touchEnd');
    await expect.poll(apart).toBeLessThan(0.85 * wide);

    // The great circle is drawn from where the eye looks.
    const circle = (): Promise<string | null> => studio.locator('.pane-inside .circle').getAttribute('d');
    const looked = await circle();
    await touch('touchStart', at);
    await touch('touchMove', { x: at.x + 30, y: at.y });
    await touch('touchEnd');
    await expect.poll(circle).not.toBe(looked);
  });
});
