; The average of two machine words as it is often written. Does it lie between them? It does not: the
; sum overflows.
(set-logic QF_BV)
(declare-const a (_ BitVec 32))
(declare-const b (_ BitVec 32))
(define-fun average () (_ BitVec 32) (bvlshr (bvadd a b) #x00000001))
(assert (bvule a b))
(assert (not (and (bvule a average) (bvule average b))))
(check-sat)
