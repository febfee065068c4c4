// SPDX-License-Identifier: MIT
// Prints what C# takes the records of the C interface to be, as C source that does not compile where C disagrees: the
// size of each record, and offset and size of each member, by the names that they have in C.
using System;
using System.Reflection;
using System.Runtime.InteropServices;
using System.Text;

static class CSharpLayouts
{
    // MaxDifference is max_difference.
    static string InC(string name)
    {
        StringBuilder text = new StringBuilder();
        foreach (char letter in name)
        {
            if (char.IsUpper(letter) && text.Length > 0)
                text.Append('_');
            text.Append(char.ToLowerInvariant(letter));
        }
        return text.ToString();
    }

    static void Main()
    {
        Console.WriteLine("#include <stddef.h>\n#include <narvo/narvo_c.h>");
        foreach (Type type in Assembly.GetExecutingAssembly().GetTypes())
        {
            if (!type.IsValueType || !type.Name.StartsWith("Narvo"))
                continue;
            string record = InC(type.Name);
            Console.WriteLine("_Static_assert(sizeof({0}) == {1}, \"{0}\");", record, Marshal.SizeOf(type));
            foreach (FieldInfo field in type.GetFields(BindingFlags.Instance | BindingFlags.Public | BindingFlags.NonPublic))
            {
                string member = InC(field.Name);
                Console.WriteLine("_Static_assert(offsetof({0}, {1}) == {2} && sizeof((({0}*)0)->{1}) == {3}, \"{0}.{1}\");",
                                  record, member, Marshal.OffsetOf(type, field.Name), Marshal.SizeOf(field.FieldType));
            }
        }
    }
}
