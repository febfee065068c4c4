// SPDX-License-Identifier: MIT
// A host in Rust, without crates: the C interface declared by hand, a pattern with one defect, what was found.
// Build: rustc host_in_rust.rs -l narvohost
use std::ffi::{c_char, c_void, CStr, CString};
use std::mem::size_of;
use std::ptr::{null, null_mut};

#[repr(C)]
pub struct Image {
    size: u32,
    width: i32,
    height: i32,
    bits: i32,
    stride: i64,
    pixels: *const c_void,
}

#[repr(C)]
pub struct Problem {
    size: u32,
    reserved: u32,
    field: *const c_char,
    value: *const c_char,
    allowed: *const c_char,
}

#[repr(C)]
#[derive(Clone, Copy, Default)]
pub struct Defect {
    size: u32,
    number: i32,
    bright: i32,
    band: i32,
    single: i32,
    area: i32,
    bounds: [i32; 4],
    center_x: i32,
    center_y: i32,
    peak_x: i32,
    peak_y: i32,
    peak: i32,
    max_difference: i32,
    mean_difference: i32,
    mean_grey: i32,
    mean_reference: i32,
    zone: i32,
    scale: i32,
    label: i32,
    diameter: i32,
    reserved: i32,
    angle: f64,
    major_axis: f64,
    minor_axis: f64,
    circularity: f64,
    elongation: f64,
}

/// What a handle points at is never seen.
type Handle = *mut c_void;

extern "C" {
    fn narvo_problem_count() -> i64;
    fn narvo_problem_get(index: i64, problem: *mut Problem) -> i32;
    fn narvo_recipe_from_text(json: *const c_char, folder: *const c_char, recipe: *mut Handle) -> i32;
    fn narvo_recipe_free(recipe: Handle) -> i32;
    fn narvo_inspector_create(lanes: i32, inspector: *mut Handle) -> i32;
    fn narvo_inspector_free(inspector: Handle) -> i32;
    fn narvo_inspect(inspector: Handle, recipe: Handle, image: *const Image, reports: *mut Handle) -> i32;
    fn narvo_reports_defects(reports: Handle, region: i64, size: u32, defects: *mut Defect, capacity: i64, count: *mut i64) -> i32;
    fn narvo_reports_free(reports: Handle) -> i32;
}

/// A handle that is freed when it goes out of scope.
struct Owned {
    handle: Handle,
    free: unsafe extern "C" fn(Handle) -> i32,
}

impl Drop for Owned {
    fn drop(&mut self) {
        unsafe { (self.free)(self.handle) };
    }
}

/// The status of a call; a failure becomes the lines of its problems.
fn checked(status: i32) -> Result<(), String> {
    if status == 0 {
        return Ok(());
    }
    let mut lines = String::new();
    for index in 0..unsafe { narvo_problem_count() } {
        let mut problem = Problem { size: size_of::<Problem>() as u32, reserved: 0, field: null(), value: null(), allowed: null() };
        if unsafe { narvo_problem_get(index, &mut problem) } == 0 {
            let text = |place| unsafe { CStr::from_ptr(place) }.to_string_lossy().into_owned();
            lines += &format!("{}: {}; allowed: {}\n", text(problem.field), text(problem.value), text(problem.allowed));
        }
    }
    Err(lines)
}

fn recipe_from_text(json: &str) -> Result<Owned, String> {
    let text = CString::new(json).map_err(|error| error.to_string())?;
    let mut handle = null_mut();
    checked(unsafe { narvo_recipe_from_text(text.as_ptr(), null(), &mut handle) })?;
    Ok(Owned { handle, free: narvo_recipe_free })
}

fn inspect(inspector: &Owned, recipe: &Owned, pixels: &[u8], width: usize) -> Result<Vec<Defect>, String> {
    let image = Image {
        size: size_of::<Image>() as u32,
        width: width as i32,
        height: (pixels.len() / width) as i32,
        bits: 8,
        stride: width as i64,
        pixels: pixels.as_ptr().cast(),
    };
    let mut handle = null_mut();
    checked(unsafe { narvo_inspect(inspector.handle, recipe.handle, &image, &mut handle) })?;
    let reports = Owned { handle, free: narvo_reports_free };
    let size = size_of::<Defect>() as u32;
    let mut count = 0;
    checked(unsafe { narvo_reports_defects(reports.handle, 0, size, null_mut(), 0, &mut count) })?;
    let mut defects = vec![Defect::default(); count as usize];
    checked(unsafe { narvo_reports_defects(reports.handle, 0, size, defects.as_mut_ptr(), count, &mut count) })?;
    Ok(defects)
}

fn run() -> Result<(), String> {
    let (width, height) = (512, 288);
    let mut pixels = vec![60_u8; width * height];
    for (i, pixel) in pixels.iter_mut().enumerate() {
        let (x, y) = (i % width, i / width);
        if (200..205).contains(&x) && (120..125).contains(&y) {
            *pixel = 230;
        } else if x % 32 < 12 && y % 24 < 16 {
            *pixel = 150;
        }
    }
    if let Err(lines) = recipe_from_text(r#"{"version": 1, "mode": "pixel", "pitch": {"x": 0, "y": 24}}"#) {
        print!("refused: {}", lines);
    }
    let recipe = recipe_from_text(
        r#"{"version": 1, "mode": "pixel", "pitch": {"x": 32, "y": 24}, "threshold": {"base": 25}}"#,
    )?;
    let mut handle = null_mut();
    checked(unsafe { narvo_inspector_create(1, &mut handle) })?;
    let inspector = Owned { handle, free: narvo_inspector_free };
    for defect in inspect(&inspector, &recipe, &pixels, width)? {
        println!("{} pixels around {}, {}", defect.area, defect.center_x, defect.center_y);
    }
    Ok(())
}

fn main() {
    if let Err(lines) = run() {
        print!("{}", lines);
        std::process::exit(1);
    }
}
