// The system's on-device model behind the C functions of plattform/sprachmodell_c.h. Only the
// glue lives here: tools, session and conversation logic are on the C++ side. Never built on
// Linux; not verified on a Mac in this workplace.
import Foundation
import FoundationModels

private final class Sitzung: @unchecked Sendable {
    struct Werkzeug {
        let name: String
        let beschreibung: String
        var argumente: [(name: String, liste: Bool, fuehrung: String)] = []
    }
    let anweisungen: String
    let ruf: @convention(c) (UnsafeMutableRawPointer?, Int, UnsafePointer<CChar>?, Int) -> Void
    let kontext: UnsafeMutableRawPointer?
    var werkzeuge: [Werkzeug] = []
    var session: LanguageModelSession?
    var aufgabe: Task<Void, Never>?
    private let sperre = NSLock()
    private var beendet = false

    init(_ a: String, _ r: @escaping @convention(c) (UnsafeMutableRawPointer?, Int, UnsafePointer<CChar>?, Int) -> Void,
         _ k: UnsafeMutableRawPointer?) {
        anweisungen = a
        ruf = r
        kontext = k
    }

    // A callback only while the C++ side still listens; hb_sitzung_frei waits for one under way.
    @discardableResult
    func melde(_ f: () -> Void) -> Bool {
        sperre.lock()
        defer { sperre.unlock() }
        if !beendet { f() }
        return !beendet
    }

    func beende() {
        sperre.lock()
        beendet = true
        sperre.unlock()
        aufgabe?.cancel()
    }
}

private final class Offen: @unchecked Sendable {
    static let alle = Offen()
    private let sperre = NSLock()
    private var naechste = 0
    private var warten: [Int: CheckedContinuation<String, Never>] = [:]

    func merke(_ c: CheckedContinuation<String, Never>) -> Int {
        sperre.lock()
        defer { sperre.unlock() }
        naechste += 1
        warten[naechste] = c
        return naechste
    }

    func antworte(_ nummer: Int, _ text: String) {
        sperre.lock()
        let c = warten.removeValue(forKey: nummer)
        sperre.unlock()
        c?.resume(returning: text)
    }
}

private struct CWerkzeug: Tool {
    typealias Arguments = GeneratedContent
    let name: String
    let description: String
    let parameters: GenerationSchema
    let index: Int
    let sitzung: Sitzung

    func call(arguments: GeneratedContent) async throws -> String {
        await withCheckedContinuation { fortsetzung in
            let nummer = Offen.alle.merke(fortsetzung)
            let gerufen = sitzung.melde {
                arguments.jsonString.withCString { sitzung.ruf(sitzung.kontext, index, $0, nummer) }
            }
            if !gerufen { Offen.alle.antworte(nummer, "") }  // nobody left to answer
        }
    }
}

private func sitzung(_ p: UnsafeMutableRawPointer) -> Sitzung {
    Unmanaged<Sitzung>.fromOpaque(p).takeUnretainedValue()
}

@_cdecl("hb_modell_verfuegbarkeit")
public func hb_modell_verfuegbarkeit() -> Int32 {
    switch SystemLanguageModel.default.availability {
    case .available: return 0
    case .unavailable(.deviceNotEligible): return 1
    case .unavailable(.appleIntelligenceNotEnabled): return 2
    case .unavailable(.modelNotReady): return 3
    default: return 4
    }
}

@_cdecl("hb_sitzung_neu")
public func hb_sitzung_neu(_ anweisungen: UnsafePointer<CChar>,
                           _ ruf: @escaping @convention(c) (UnsafeMutableRawPointer?, Int, UnsafePointer<CChar>?, Int) -> Void,
                           _ kontext: UnsafeMutableRawPointer?) -> UnsafeMutableRawPointer {
    Unmanaged.passRetained(Sitzung(String(cString: anweisungen), ruf, kontext)).toOpaque()
}

@_cdecl("hb_werkzeug_dazu")
public func hb_werkzeug_dazu(_ p: UnsafeMutableRawPointer, _ name: UnsafePointer<CChar>, _ beschreibung: UnsafePointer<CChar>) {
    sitzung(p).werkzeuge.append(.init(name: String(cString: name), beschreibung: String(cString: beschreibung)))
}

@_cdecl("hb_argument_dazu")
public func hb_argument_dazu(_ p: UnsafeMutableRawPointer, _ name: UnsafePointer<CChar>, _ liste: Int32,
                             _ fuehrung: UnsafePointer<CChar>) {
    let s = sitzung(p)
    s.werkzeuge[s.werkzeuge.count - 1].argumente.append((String(cString: name), liste != 0, String(cString: fuehrung)))
}

@_cdecl("hb_sitzung_start")
public func hb_sitzung_start(_ p: UnsafeMutableRawPointer) -> Int32 {
    let s = sitzung(p)
    do {
        var tools: [any Tool] = []
        for (i, w) in s.werkzeuge.enumerated() {
            let text = DynamicGenerationSchema(type: String.self)
            let eigenschaften = w.argumente.map {
                DynamicGenerationSchema.Property(name: $0.name, description: $0.fuehrung,
                                                 schema: $0.liste ? DynamicGenerationSchema(arrayOf: text) : text)
            }
            let schema = try GenerationSchema(root: DynamicGenerationSchema(name: w.name, properties: eigenschaften),
                                              dependencies: [])
            tools.append(CWerkzeug(name: w.name, description: w.beschreibung, parameters: schema, index: i, sitzung: s))
        }
        s.session = LanguageModelSession(model: .default, tools: tools, instructions: s.anweisungen)
        return 1
    } catch {
        return 0
    }
}

@_cdecl("hb_sitzung_frage")
public func hb_sitzung_frage(_ p: UnsafeMutableRawPointer, _ frage: UnsafePointer<CChar>,
                             _ teil: @escaping @convention(c) (UnsafeMutableRawPointer?, UnsafePointer<CChar>?) -> Void,
                             _ ende: @escaping @convention(c) (UnsafeMutableRawPointer?, Int32, UnsafePointer<CChar>?) -> Void) {
    let s = sitzung(p)
    let text = String(cString: frage)
    s.aufgabe = Task {
        guard let session = s.session else {
            s.melde { ende(s.kontext, 2, "Die Sitzung ließ sich nicht anlegen.") }
            return
        }
        do {
            for try await schnappschuss in session.streamResponse(to: text) {
                s.melde { schnappschuss.content.withCString { teil(s.kontext, $0) } }
            }
            s.melde { ende(s.kontext, 0, "") }
        } catch let fehler as LanguageModelSession.GenerationError {
            if case .exceededContextWindowSize = fehler {
                s.melde { ende(s.kontext, 1, "") }
            } else {
                s.melde { fehler.localizedDescription.withCString { ende(s.kontext, 2, $0) } }
            }
        } catch {
            s.melde { error.localizedDescription.withCString { ende(s.kontext, 2, $0) } }
        }
    }
}

@_cdecl("hb_werkzeug_antwort")
public func hb_werkzeug_antwort(_ aufruf: Int, _ text: UnsafePointer<CChar>) {
    Offen.alle.antworte(aufruf, String(cString: text))
}

@_cdecl("hb_sitzung_frei")
public func hb_sitzung_frei(_ p: UnsafeMutableRawPointer) {
    sitzung(p).beende()
    Unmanaged<Sitzung>.fromOpaque(p).release()
}
