// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

/** A number with a fixed number of decimals and a true minus sign; a dash if it is not finite. */
export function fixed(value: number, decimals: number): string {
  if (!Number.isFinite(value)) return '–';
  const text = value.toFixed(decimals);
  return Number(text) === 0 ? text.replace('-', '') : text.replace('-', '\u2212');
}

export function fixedList(values: readonly number[], decimals: number): string {
  return values.map((value) => fixed(value, decimals)).join('  ');
}

/** A number with about three digits. */
export function short(value: number): string {
  const size = Math.abs(value);
  if (size >= 1e5 || (size > 0 && size < 1e-4)) return value.toExponential(1);
  return fixed(value, size >= 100 ? 0 : size >= 10 ? 1 : size >= 1 ? 2 : 3);
}

/** A length in the unit that suits it: 0.1 m is 10 cm. */
export function lengthText(metres: number): string {
  if (metres >= 1000) return `${metres / 1000} km`;
  if (metres >= 1) return `${metres} m`;
  if (metres >= 0.01) return `${Math.round(metres * 100)} cm`;
  return `${Number((metres * 1000).toPrecision(1))} mm`;
}
