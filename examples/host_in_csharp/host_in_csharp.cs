// SPDX-License-Identifier: MIT
// A host in C#: the C interface declared by hand, a pattern with one defect, what was found, and how a refusal arrives.
// Build: mcs host_in_csharp.cs, or csc; run: mono host_in_csharp.exe
using System;
using System.Collections.Generic;
using System.Runtime.InteropServices;
using System.Text;

namespace Narvo
{
    // The records of <narvo/narvo_c.h>: the same members in the same order, so that Marshal.SizeOf is C's sizeof. The
    // first member is that size.

    [StructLayout(LayoutKind.Sequential)]
    public struct NarvoProblem
    {
        public uint Size;
        public uint Reserved;
        public IntPtr Field;
        public IntPtr Value;
        public IntPtr Allowed;
    }

    [StructLayout(LayoutKind.Sequential)]
    public struct NarvoImage
    {
        public uint Size;
        public int Width;
        public int Height;
        public int Bits;
        public long Stride;
        public IntPtr Pixels;
    }

    [StructLayout(LayoutKind.Sequential)]
    public struct NarvoDefect
    {
        public uint Size;
        public int Number;
        public int Bright;
        public int Band;
        public int Single;
        public int Area;
        public int Left;
        public int Top;
        public int Right;
        public int Bottom;
        public int CenterX;
        public int CenterY;
        public int PeakX;
        public int PeakY;
        public int Peak;
        public int MaxDifference;
        public int MeanDifference;
        public int MeanGrey;
        public int MeanReference;
        public int Zone;
        public int Scale;
        public int Label;
        public int Diameter;
        public int Reserved;
        public double Angle;
        public double MajorAxis;
        public double MinorAxis;
        public double Circularity;
        public double Elongation;
    }

    // Handles that free themselves. A SafeHandle lives through the calls that it is passed to, and the library looks
    // every handle up, so freeing one late or on the finalizer's thread is safe.

    public sealed class RecipeHandle : SafeHandle
    {
        public RecipeHandle() : base(IntPtr.Zero, true) { }
        public override bool IsInvalid { get { return handle == IntPtr.Zero; } }
        protected override bool ReleaseHandle() { return Native.narvo_recipe_free(handle) == 0; }
    }

    public sealed class InspectorHandle : SafeHandle
    {
        public InspectorHandle() : base(IntPtr.Zero, true) { }
        public override bool IsInvalid { get { return handle == IntPtr.Zero; } }
        protected override bool ReleaseHandle() { return Native.narvo_inspector_free(handle) == 0; }
    }

    public sealed class ReportsHandle : SafeHandle
    {
        public ReportsHandle() : base(IntPtr.Zero, true) { }
        public override bool IsInvalid { get { return handle == IntPtr.Zero; } }
        protected override bool ReleaseHandle() { return Native.narvo_reports_free(handle) == 0; }
    }

    // The functions, under their names in C.
    static class Native
    {
        const string Library = "libnarvohost.so.1";

        [DllImport(Library)] internal static extern long narvo_problem_count();
        [DllImport(Library)] internal static extern int narvo_problem_get(long index, ref NarvoProblem problem);
        [DllImport(Library)] internal static extern int narvo_recipe_from_text(byte[] json, byte[] folder, out RecipeHandle recipe);
        [DllImport(Library)] internal static extern int narvo_recipe_free(IntPtr recipe);
        [DllImport(Library)] internal static extern int narvo_inspector_create(int lanes, out InspectorHandle inspector);
        [DllImport(Library)] internal static extern int narvo_inspector_free(IntPtr inspector);
        [DllImport(Library)] internal static extern int narvo_inspect(InspectorHandle inspector, RecipeHandle recipe, ref NarvoImage image, out ReportsHandle reports);
        [DllImport(Library)] internal static extern int narvo_reports_defects(ReportsHandle reports, long region, uint recordSize, [Out] NarvoDefect[] defects, long capacity, out long count);
        [DllImport(Library)] internal static extern int narvo_reports_free(IntPtr reports);
    }

    // Texts are UTF-8 and end with a zero byte. Those that the library returns stay its own: they are copied here, and
    // never freed.
    static class Utf8
    {
        internal static byte[] Bytes(string text)
        {
            if (text == null)
                return null;
            if (text.IndexOf('\0') >= 0)
                throw new ArgumentException("the text holds a zero character, which would end it early");
            return Encoding.UTF8.GetBytes(text + '\0');
        }

        internal static string Text(IntPtr place)
        {
            int length = 0;
            while (Marshal.ReadByte(place, length) != 0)
                ++length;
            byte[] bytes = new byte[length];
            Marshal.Copy(place, bytes, 0, length);
            return Encoding.UTF8.GetString(bytes);
        }
    }

    /// One reason for a refusal.
    public sealed class Problem
    {
        public readonly string Field;
        public readonly string Value;
        public readonly string Allowed;

        internal Problem(NarvoProblem problem)
        {
            Field = Utf8.Text(problem.Field);
            Value = Utf8.Text(problem.Value);
            Allowed = Utf8.Text(problem.Allowed);
        }

        public override string ToString() { return Field + ": " + Value + "; allowed: " + Allowed; }
    }

    /// Why a call did nothing: every reason, with what was found and what would have been right.
    public sealed class NarvoException : Exception
    {
        public readonly int Status;
        public readonly IList<Problem> Problems;

        NarvoException(int status, IList<Problem> problems) : base(string.Join("\n", problems))
        {
            Status = status;
            Problems = problems;
        }

        /// Throws what the failed call of this thread left, unless the status is NARVO_OK.
        internal static void ThrowUnlessOk(int status)
        {
            if (status == 0)
                return;
            List<Problem> problems = new List<Problem>();
            NarvoProblem problem = new NarvoProblem { Size = (uint)Marshal.SizeOf(typeof(NarvoProblem)) };
            for (long i = 0; i < Native.narvo_problem_count(); ++i)
                if (Native.narvo_problem_get(i, ref problem) == 0)
                    problems.Add(new Problem(problem));
            throw new NarvoException(status, problems.AsReadOnly());
        }
    }

    /// A checked recipe. Make it once and use it for all images.
    public sealed class Recipe : IDisposable
    {
        internal readonly RecipeHandle Handle;

        public Recipe(string json)
        {
            NarvoException.ThrowUnlessOk(Native.narvo_recipe_from_text(Utf8.Bytes(json), null, out Handle));
        }

        public void Dispose() { Handle.Dispose(); }
    }

    /// Engines for a number of images at once, for any number of threads.
    public sealed class Inspector : IDisposable
    {
        readonly InspectorHandle m_handle;

        public Inspector(int lanes)
        {
            NarvoException.ThrowUnlessOk(Native.narvo_inspector_create(lanes, out m_handle));
        }

        public void Dispose() { m_handle.Dispose(); }

        /// The defects in 8-bit grey pixels, row by row without gaps, by the first region of the recipe.
        public NarvoDefect[] Inspect(Recipe recipe, byte[] pixels, int width, int height)
        {
            if (pixels.LongLength < (long)width * height)
                throw new ArgumentException("fewer pixels than width by height");
            GCHandle pinned = GCHandle.Alloc(pixels, GCHandleType.Pinned); // the library reads them where they lie
            try
            {
                NarvoImage image = new NarvoImage {
                    Size = (uint)Marshal.SizeOf(typeof(NarvoImage)), Width = width, Height = height, Bits = 8,
                    Pixels = pinned.AddrOfPinnedObject() };
                ReportsHandle reports;
                NarvoException.ThrowUnlessOk(Native.narvo_inspect(m_handle, recipe.Handle, ref image, out reports));
                using (reports)
                    return Defects(reports);
            }
            finally
            {
                pinned.Free();
            }
        }

        static NarvoDefect[] Defects(ReportsHandle reports)
        {
            uint size = (uint)Marshal.SizeOf(typeof(NarvoDefect));
            long count;
            NarvoException.ThrowUnlessOk(Native.narvo_reports_defects(reports, 0, size, null, 0, out count));
            NarvoDefect[] defects = new NarvoDefect[count];
            NarvoException.ThrowUnlessOk(Native.narvo_reports_defects(reports, 0, size, defects, count, out count));
            return defects;
        }
    }

    static class Program
    {
        const int Width = 512;
        const int Height = 288;

        static byte[] DrawPattern()
        {
            byte[] pixels = new byte[Width * Height];
            for (int y = 0; y < Height; ++y)
                for (int x = 0; x < Width; ++x)
                {
                    bool defect = x >= 200 && x < 205 && y >= 120 && y < 125;
                    pixels[y * Width + x] = (byte)(defect ? 230 : x % 32 < 12 && y % 24 < 16 ? 150 : 60);
                }
            return pixels;
        }

        static string RecipeOf(int pitchX)
        {
            return "{\"version\": 1, \"mode\": \"pixel\", \"pitch\": {\"x\": " + pitchX +
                   ", \"y\": 24}, \"threshold\": {\"base\": 25}}";
        }

        static int Main()
        {
            try
            {
                using (new Recipe(RecipeOf(0))) { }
            }
            catch (NarvoException refusal)
            {
                foreach (Problem problem in refusal.Problems)
                    Console.WriteLine("refused: " + problem);
            }

            try
            {
                using (Recipe recipe = new Recipe(RecipeOf(32)))
                using (Inspector inspector = new Inspector(1))
                    foreach (NarvoDefect defect in inspector.Inspect(recipe, DrawPattern(), Width, Height))
                        Console.WriteLine("{0} pixels around {1}, {2}", defect.Area, defect.CenterX, defect.CenterY);
                return 0;
            }
            catch (NarvoException failure)
            {
                Console.Error.WriteLine(failure.Message);
                return 1;
            }
        }
    }
}
